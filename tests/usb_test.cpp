// The USB port, flight mode, and the modem's test mode.
#include <tuple>

#include "atd.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

const std::string kUsb = "/sys/class/android_usb/android0/", kLevel = "persist.sys.ssr.restart_level";
const std::string kLost = "request_to_modem_via_dmi";
char g_out[2048];
int g_length;

class UsbTest : public Phone {
 protected:
  UsbTest() { init_modem_interface(0); }

  std::string property(const std::string& name) { return device().properties.get(name); }
  std::string asked() {  // of the modem, since the last call
    std::string text;
    for (const auto& [opcode, payload] : device().modem.requests()) text += std::to_string(opcode) + payload + " ";
    device().modem.clear_requests();
    return text;
  }
};

TEST_F(UsbTest, OnePathChangeRunsAtATimeAndToItsEnd) {
  device().usb.set_delay(120);
  EXPECT_EQ(0, usb_path_change_thread());
  EXPECT_EQ((3 + 19 + 3) * 50'000u, device().clock.slept());
  EXPECT_EQ(1, errors("USB PATH : wait_for_state(skip) FAILED"));
  device().usb.set_delay(0);
  device().clock.hold_sleeps();
  set_usb_lock(1);
  EXPECT_EQ(0, usb_path_change());
  device().clock.await_waiters();  // for the state that never comes
  EXPECT_EQ("none skip", property("sys.usb.state") + " " + property("sys.usb.adb_skip_auth"));
  EXPECT_EQ(-1, usb_path_change_thread());
  EXPECT_EQ(1, errors("USB PATH : usb_path_change_thread is already running"));
  device().clock.release();
  device().threads.await_none();
  EXPECT_EQ("factory,adb 0\n", property("sys.usb.state") + " " + content(root_ + kUsb + "lock"));
  std::filesystem::remove(root_ + kUsb + "lock");
  EXPECT_EQ(0, usb_path_change_thread());
  EXPECT_EQ(1, errors("USB PATH : " + kUsb + "lock does not exist"));
  std::filesystem::create_directory(root_ + kUsb + "lock");
  EXPECT_EQ(-1, usb_path_change_thread());
  // Another one than the daemon sets the composition.
  ASSERT_TRUE(sim::write_file(root_ + "/dev/__properties__/sys.usb.config", "ptp"));
  EXPECT_EQ("ptp", property("sys.usb.state"));
}

TEST_F(UsbTest, Compositions) {
  const std::pair<int (*)(), std::string> rows[] = {{usb_mode_change_factory, "factory 1"},
                                                    {usb_mode_change_user, "factory,adb 0"},
                                                    {usb_mode_change_cpdm, "qmicm,adb 0"}};
  for (const auto& [change, done] : rows) {
    EXPECT_EQ(0, change());
    EXPECT_EQ(done, property("sys.usb.config") + " " + content(root_ + kUsb + "lock"));
    sim::write_file(root_ + kUsb + "lock", "x");
    device().faults.fail("property_set sys.usb.config", 1);
    EXPECT_EQ(1, change());
    EXPECT_EQ(done == "factory 1" ? "x" : "0", content(root_ + kUsb + "lock"));
  }
  for (const auto& [text, number] :
       {std::pair("DISCONNECTED\n"s, 1), {"CONNECTED", 2}, {"CONFIGURED", 3}, {std::string(5000, 'C'), 0}}) {
    sim::write_file(root_ + kUsb + "state", text);
    EXPECT_EQ(number, get_usbstate_from_sys()) << text;
  }
}

TEST_F(UsbTest, FlightModeChangesOnlyWhenTheModemAgrees) {
  const std::string led = root_ + "/sys/class/leds/R/device/led_pattern";
  const std::tuple<const char*, std::string, int, std::string, std::string> rows[] = {
      {"1", "1", 0, "[1] FLIGHT Mode ON 1", "[COMMON_INTERFACE] RZCMD OPCODE: 1653"},
      {"1", "\0"s, 0, "ERROR 1", "flight_set_mode_to_modem : FAIL(0)"},
      {"0", "\x80", 0, "[0] FLIGHT Mode OFF 0", "[COMMON_INTERFACE] RZCMD OPCODE: 1654"},
      {"1", "", 0, "ERROR 0", "flight_set_mode_to_modem : FAIL(0)"},
      {"1", "1", 2, "ERROR 0", "Cannot get response. Return error!(flight)"}};
  for (const auto& [mode, answer, failures, reply, line] : rows) {
    device().modem.set_answer(201, answer);
    device().faults.fail(kLost, failures);
    EXPECT_EQ(1, flight_set_mode_to_modem(mode, g_out));  // at best, nobody hears that the phone is to sleep
    EXPECT_EQ(reply, g_out + " "s + std::to_string(get_flight_status()));
    EXPECT_EQ(*mode == '1' ? "201\1 0\n" : "201\0 1\n"s, asked().substr(0, 5) + content(led));
    EXPECT_LE(1, logged(line) + errors(line)) << line;
  }
  std::filesystem::remove(led);
  flight_set_mode_to_modem("0", g_out);
  EXPECT_EQ(1, errors("LED ON Fail"));
  EXPECT_EQ(1, flight_set_mode("1", g_out) * flight_mode_get_status(g_out));
  EXPECT_EQ(2, logged("[COMMON_INTERFACE] RZCMD OPCODE: 1651") + logged("[COMMON_INTERFACE] RZCMD OPCODE: 1652"));
}

TEST_F(UsbTest, TheModemsTestMode) {
  const auto mode = [](char* out) { return get_tav_test_script_mode(out, &g_length); };
  const auto put = [](int (*function)(char*)) { return [=] { return function(g_out); }; };
  const auto data = [](int kind) { return [=] { return set_tav_test_script_cal_data(kind); }; };
  // The results for the answers "1x", "2", "0abc", "" and one of 2048 bytes, and for none; then what "0abc" leaves.
  const std::tuple<int, std::function<int()>, std::string> rows[] = {// clang-format off
      {3, set_tav_test_script_item, "011111"}, {4, put(mode), "0001010abc"}, {5, data(0), "011111"},
      {6, data(1), "011111"}, {7, data(2), "000001"}, {25, tav_wcdma_maxpower_on, "011111"},
      {26, tav_wcdma_maxpower_off, "011111"}, {27, put(tav_cal_check_read), "0000010abc"},
      {28, put(tav_cal_data_check), "0000010abc"}, {29, tav_vco_self_tunning_write, "021111"},
      {30, tav_vco_self_tunning_read, "021111"}, {209, tav_check_modem_cmd_ready, "011111"},
      {210, put(rf_device_check), "011111abc"}, {0, data(3), "111111"}, {0, tav_check_modem, "000000"}};
  // clang-format on
  for (const auto& [opcode, run, results] : rows) {
    std::string got, left;
    for (const std::string& answer : {"1x"s, "2"s, "0abc"s, ""s, std::string(2048, '#'), "lost"s}) {
      if (answer == "lost") device().faults.fail(kLost, 2);
      memset(g_out, 0, sizeof g_out);
      device().modem.set_answer(opcode, answer);
      got += std::to_string(run());
      if (answer == "0abc") left = g_out;
    }
    EXPECT_EQ(results, got + left + g_out) << opcode;
  }
  EXPECT_EQ(2, logged("get_tav_test_script_mode: 0abc") + logged("rf_device_check: 0abc"));
  device().modem.clear_answers();
  device().faults.clear();
  device().properties.set_at_boot("ril.modembsp.bootup", "0");
  EXPECT_EQ(2, tav_check_modem() + set_tav_test_script_cal_data(1)) << "nothing was backed up";
  for (const auto& [kind, read] : {std::pair(0, "1"), {2, "0"}, {1, "1"}}) {
    EXPECT_EQ(0, set_tav_test_script_cal_data(kind) + tav_cal_check_read(g_out));
    EXPECT_STREQ(read, g_out) << kind;
  }
}

TEST_F(UsbTest, AModemResetTakesFiveSecondsAndOneThatDoesNotBeginKeepsLaterOnesAway) {
  device().clock.hold_sleeps();
  for (const auto& [level, number] : {std::pair("ALL_ENABLE"s, "3"), {"x", "0"}, {"ALL_DISABLE", "1"}}) {
    device().properties.set(kLevel, level);
    EXPECT_EQ(0, tav_reset_modem());
    EXPECT_EQ("200 214 " + level, asked() + property(kLevel));
    EXPECT_EQ(1, logged("POWER_RESET: restart_lvl = "s + number + ", value = " + level));
    device().clock.await_waiters();
    device().clock.advance(4'999'999);
    EXPECT_EQ("0", std::to_string(tav_reset_modem()) + asked());
    device().clock.advance(1);
    device().threads.await_none();
  }
  // What does not begin blocks its process for good, and deliberately: each has one of its own, forked without threads.
  device_.reset();
  for (const std::string& fault :
       {kLost + " 200", "property_set " + kLevel, kLost + " 214", "dmi_release"s, "start_thread"s}) {
    const auto reset_twice = [&] {
      std::string error;
      device_ = sim::SimulatedDevice::open(root_, &error);
      device().clock.make_virtual();
      device().faults.fail(fault);
      if (fault == "dmi_release") device().modem.set_answer(214, "10");
      EXPECT_EQ(has(fault, " 200") || has(fault, "property") ? 1 : 0, tav_reset_modem());
      device().faults.clear();
      device().threads.await_none();
      asked();
      _exit(HasFailure() || tav_reset_modem() != 0 || !asked().empty());
    };
    EXPECT_EXIT(reset_twice(), testing::ExitedWithCode(0), "") << fault;
  }
}

}  // namespace
}  // namespace atd
