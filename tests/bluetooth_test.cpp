// Bluetooth: its address, the controller's test mode, the tests of Low Energy, the relay from the USB port.
#include <pty.h>

#include <algorithm>
#include <tuple>

#include "atd.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

class BluetoothTest : public Phone {
 protected:
  // The lines with the place of a function in the library before their text.
  ptrdiff_t lines(const std::string& level, const std::string& function, const std::string& text) {
    const auto all = device().logs.lines(LOG_ID_SYSTEM);
    return std::count_if(all.begin(), all.end(), [&](const std::string& line) {
      return has(line, " " + level + " Atd: [bt(") && line.ends_with(")-" + function + "]   " + text);
    });
  }
};

TEST_F(BluetoothTest, TheAddress) {
  char out[64] = "as it was";
  unsigned char bytes[6];
  const char* params[] = {"0", "a", "1", "B", "2", "c", "3", "D", "4", "e", "5", "F"};
  EXPECT_EQ(1, handle_atcmd_btad_assign(params, 11, out));
  EXPECT_EQ(1, lines("E", "handle_atcmd_btad_assign", "unknown paramCount = 11"));
  for (const char* bad : {"g", "", "00"}) {
    params[11] = bad;
    EXPECT_EQ(1, handle_atcmd_btad_assign(params, 12, out)) << bad;
  }
  EXPECT_STREQ("as it was", out);
  EXPECT_EQ(1, lines("E", "bt_addr_ascii_to_hexa", "bt_addr_assign : invalid Params = g"));
  EXPECT_EQ(0, handle_atcmd_btad_query(nullptr));
  EXPECT_EQ(1, lines("E", "handle_atcmd_btad_query", "handle_atcmd_btad_query : fail to read bt address from NV"));
  EXPECT_EQ(4, bt_addr_read(nullptr) + bt_addr_write(nullptr) + bt_addr_read(bytes) +
                   handle_testmode_bt_write_request("0A1B2C3D4E5F0"));
  params[11] = "F";
  device().faults.fail("set_ftm_item 8", 1);
  EXPECT_EQ(1, handle_atcmd_btad_assign(params, 12, out));
  EXPECT_EQ(0, handle_atcmd_btad_assign(params, 12, out));
  EXPECT_STREQ("BLUETOOTH ADDRESS WRITE OK", out);
  EXPECT_EQ("\x0a\x1b\x2c\x3d\x4e\x5f", device().items.get(8, 6));
  EXPECT_EQ(0, handle_atcmd_btad_range(out));
  EXPECT_STREQ("AT%BTAD=[BD ADDR:12HEX nibble => 6 Bytes]\n", out);
  device().faults.fail("property_set ctl.start", 1);
  EXPECT_EQ(0, handle_testmode_bt_write_request("0A1B2C3D4E5F"));
  EXPECT_EQ(1, errors("[BTUI] Failed to start bdaddr_loader"));
}

TEST_F(BluetoothTest, TheTestMode) {
  const auto code = [](int number) { return [=] { return handle_testmode_bt_test_mode_assign(number); }; };
  const auto text = [](const char* words) { return [=] { return handle_bt_test_mode_assign(words); }; };
  const std::tuple<std::function<int()>, int, int, unsigned> rows[] = {
      // clang-format off
      {code(43), 1, -1, 0}, {code(10), 1, -1, 0}, {code(42), 0, 32, 500}, {code(11), 0, 1, 500},
      {code(1), 0, 0, 500}, {code(5), 0, -1, 50}, {code(5), 0, -1, 50}, {text("24"), 0, 32, 500},
      {text("3"), 0, -1, 50}, {text("2"), 0, 0, 500}, {text("30"), 0, -1, 50}, {text("12"), 0, 11, 500},
      {text(""), 1, 11, 0}, {text("x"), 1, 11, 0}, {text("1:"), 1, 11, 0}, {text("211"), 1, 11, 0},
      {text("34"), 1, 11, 0}, {text("01"), 1, 11, 0}, {text(nullptr), 1, 11, 0}};
  // clang-format on
  for (const auto& [run, result, left, milliseconds] : rows) {
    const uint64_t before = device().clock.slept();
    EXPECT_EQ(result, run()) << left;
    EXPECT_EQ(left, device().bluetooth.state().dut.value_or(-1));
    EXPECT_EQ(milliseconds * 1000u, device().clock.slept() - before);
  }
  EXPECT_EQ(1, lines("I", "handle_bt_test_mode_assign", "handle_bt_test_mode_assign: 2, value: 21"));
  EXPECT_EQ(1, logged("DUT is already terminated : Value 2"));
  EXPECT_EQ(2, lines("E", "enter_bt_test_mode", "Failed to process AT%BTTM: Unsupported index"));
  const auto answer = [&](const char* function, int result) { device().bluetooth.set_answer(function, result); };
  answer("bluetooth_enter_dut_mode", -3);
  EXPECT_EQ(1, enter_bt_test_mode(2));
  EXPECT_EQ(1, errors("Failed to set BT DUT Mode"));
  answer("bluetooth_enter_dut_mode", 7);
  answer("bluetooth_exit_dut_mode", -3);
  EXPECT_EQ(7 - 3, enter_bt_test_mode(2) + enter_bt_test_mode(3));
  EXPECT_EQ(2, lines("E", "enter_bt_test_mode", "Failed to set BT DUT & Audio Loopback Mode"));
  for (const auto& [says, told, result] : {std::tuple(0, "1", 1), {1, "2", 0}, {-1, "2", 2}}) {
    char out[2];
    answer("bluetooth_is_dut_mode", says);
    EXPECT_EQ(result, handle_bt_test_mode_query(out) + handle_testmode_bt_test_mode_query());
    EXPECT_STREQ(told, out);
  }
}

TEST_F(BluetoothTest, LowEnergyTestsRunInTheirOrder) {
  const auto on = handle_testmode_btle_test_enable, off = handle_testmode_btle_test_disable;
  const auto send_end = handle_testmode_btle_tx_test_end;
  const auto send = [] { return handle_testmode_btle_tx_test_start(41 + 39); };
  const auto receive = [] { return handle_testmode_btle_rx_test_start(39); };
  unsigned count = 0;
  const auto receive_end = [&] { return handle_testmode_btle_rx_test_end(&count); };
  // What fails with the controller's answer, if any, and the result.
  const std::tuple<std::function<int()>, std::string, int, int> rows[] = {// clang-format off
      {off, "", 0, 1}, {receive_end, "", 0, 1}, {receive, "", 0, 1}, {on, "do_ble_enable", -2, 1}, {on, "", 0, 0},
      {on, "", 0, 1}, {send_end, "", 0, 1}, {send, "bt_le_transmitter_test", -2, 2},
      {send, "bt_le_transmitter_test", -3, 1}, {receive, "bt_le_receiver_test", -2, 2}, {receive, "", 0, 0},
      {send_end, "bt_le_tx_test_end", 0, 1}, {off, "", 0, 1}, {receive_end, "bt_le_rx_test_end", -2, 2},
      {receive_end, "", 0, 0}, {receive_end, "", 0, 1}, {send, "", 0, 0}, {receive_end, "bt_le_rx_test_end", 0, 1},
      {off, "", 0, 1}, {send_end, "bt_le_tx_test_end", -1, 1}, {send_end, "", 0, 0}, {off, "do_ble_disable", 1, 1},
      {off, "", 0, 0}, {off, "", 0, 1}, {on, "", 0, 0}, {off, "", 0, 0}};
  // clang-format on
  for (const auto& row : rows) {
    const auto& [run, function, answer, result] = row;
    if (!function.empty()) device().bluetooth.set_answer(function, answer);
    EXPECT_EQ(result, run()) << &row - rows;
    if (!function.empty()) device().bluetooth.set_answer(function, std::nullopt);
    device().clock.advance(93'750'000);  // 150000 packets, and as many once more when the first end is refused
  }
  EXPECT_EQ(99999u, count);
  EXPECT_EQ(1, lines("I", "handle_testmode_btle_rx_test_end", "success -> nPacketCnt : 99999"));
  const std::string enable = "handle_testmode_btle_test_enable", start = "handle_testmode_btle_tx_test_start";
  EXPECT_EQ(1, lines("E", enable, enable + " failed reason le status : 0"));
  EXPECT_EQ(2, lines("E", enable, "failed reason ret : -2") + lines("E", start, "Not supported"));
  EXPECT_EQ(4, lines("E", start, "failed") + lines("I", start, "tx_freq : 39"));
  EXPECT_EQ(0, on());
  EXPECT_EQ(0, receive());
  device().clock.advance(6250 + 624);
  EXPECT_EQ(0, receive_end());
  EXPECT_EQ(10u, count);
  EXPECT_EQ(0, receive());
  device().bluetooth.lose();
  EXPECT_EQ(1, receive_end());
  device().bluetooth.set_answer("bt_le_rx_test_end", 0);
  EXPECT_EQ(0, receive_end());
  EXPECT_EQ(0, off());
}

TEST_F(BluetoothTest, TheRelayAnswersThePort) {
  int master, terminal;
  struct termios raw = {};
  raw.c_cflag = CS8 | CREAD;
  ASSERT_EQ(0, openpty(&master, &terminal, nullptr, &raw, nullptr));
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  device().bluetooth.enable(true);
  const std::tuple<std::string, int, std::string> rows[] = {// clang-format off
      {"AT", 0, ""}, {"\1\3\x0C\0"s, 0, ""}, {"\1\x1D\x20\1\x27"s, 1, "\4\x0E\4\1\x1D\x20\0"s},
      {"\1\x1E\x20\3\0\x25\0"s, 1, "\4\x0E\4\1\x1E\x20\x0C"},
      {"\1\x1F\x20\0"s, 1, "\4\x0E\6\1\x1F\x20\0\x80\x0C"s}, {"\1\x1D\x20\2\x27"s, 1, "\4\x0E\4\1\x1D\x20\x12"},
      {"\1\1\x20\0"s, 1, "\4\x0E\4\1\1\x20\1"}};
  // clang-format on
  for (const auto& [port, far_end] : {std::pair(ends[1], ends[0]), {terminal, master}}) {
    for (const auto& [bytes, result, reply] : rows) {
      const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
      EXPECT_EQ(result, bt_check_BleCmd(port, data, static_cast<int>(bytes.size())));
      char got[1024];
      const ssize_t length = reply.empty() ? 0 : read(far_end, got, sizeof got);
      EXPECT_EQ(reply, std::string(got, static_cast<size_t>(length)));
      device().clock.advance(1'000'000);
    }
  }
  EXPECT_EQ(2, logged("[BTUI] write data (7): [80]"));
  const unsigned char end[] = {1, 0x1F, 0x20, 0};
  EXPECT_EQ(-1, bt_check_BleCmd(-1, end, 4));
  device().bluetooth.set_answer("checkIsBleCmd", -2);
  EXPECT_EQ(0, bt_check_BleCmd(-1, end, 4));
  device().bluetooth.set_answer("checkIsBleCmd", 1);
  EXPECT_EQ(1, bt_check_BleCmd(-1, end, 1));
  device().faults.fail("bluetooth doProcessBLECmd", 1);
  EXPECT_EQ(1, bt_check_BleCmd(-1, end, 4));
  EXPECT_EQ(0, logged("[BTUI] ==== [Write to USB]  len:0 ===="));
  EXPECT_EQ(1, errors("[BTUI] Write to external port failed in service stream: Bad file descriptor"));
  for (int fd : {master, terminal, ends[0], ends[1]}) close(fd);
}

}  // namespace
}  // namespace atd
