// The simulated modem as its clients see it through the vendor's interface, and its text file as a person sees it.
#include <fstream>
#include <thread>
#include <tuple>

#include "platform/modem_interface.h"
#include "simulator/files.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

constexpr const char* kFailed = "(failed)";

class ModemTest : public Phone {
 protected:
  ModemTest() { EXPECT_EQ(0, dmi_init(-1)); }

  sim::Modem& modem() { return device().modem; }

  // The answer's data, checked to be within the record.
  std::string ask(int opcode, const std::string& payload = {}) {
    rzcmd_request req = request_of(opcode, payload);
    memset(&last_, 0x5a, sizeof last_);
    const int sent = request_to_modem_via_dmi(&req, &last_);
    EXPECT_EQ(sent == 0 ? RZCMD_OK : RZCMD_FAIL, last_.result) << opcode;
    EXPECT_EQ(bounded_length(last_.data_len), last_.data_len) << opcode;
    return sent == 0 ? data_of(last_) : kFailed;
  }

  void write_rows(const std::string& text) { ASSERT_TRUE(sim::write_file(root_ + "/sim/modem.conf", text)); }

  int complaints(const std::string& text) { return device().logs.count(LOG_ID_MAIN, ANDROID_LOG_ERROR, "modem", text); }

  rzcmd_response last_;
};

std::string nv_packet(char code, int item, const std::string& data) {
  std::string packet(132, '\0');
  packet[0] = code;
  packet[1] = static_cast<char>(item);
  packet[2] = static_cast<char>(item >> 8);
  return packet.replace(3, data.size(), data);
}

TEST_F(ModemTest, KeepsWhatIsWrittenOverARestart) {
  const std::string nv(128, 'n'), all_bytes = "\n\0\xff line\n\n"s;
  const std::tuple<int, std::string, std::string, int, std::string, std::string> rows[] = {
      {101, all_bytes, "IMPL OK", 102, "", all_bytes},
      {105, "i", "IDDE OK", 106, "", "i"},
      {116, "490154203237518\0"s, "IMEI WRITE OK", 117, "", "490154203237518"},
      {122, std::string(2048, 'x'), "BTAD OK", 123, "", std::string(2048, 'x')},
      {3, "", "1", 4, "", "1"},
      {7, "", "1", 27, "", "0"},
      {551, nv_packet(39, 65535, nv), nv + '\0', 550, nv_packet(38, 65535, ""), nv + '\0'},
  };
  for (int opcode : {102, 117}) EXPECT_EQ("", ask(opcode)) << "nothing is written yet";
  EXPECT_EQ("", ask(550, nv_packet(38, 65535, "")));
  for (const auto& [write, payload, answer, read, read_payload, value] : rows)
    EXPECT_EQ(answer, ask(write, payload)) << write;
  // What holds until a restart.
  for (const auto& [opcode, payload] : {std::pair(20, "4"), {25, ""}, {201, "\1"}})
    EXPECT_NE(kFailed, ask(opcode, payload));
  for (bool again : {false, true}) {
    for (const auto& [write, payload, answer, read, read_payload, value] : rows)
      EXPECT_EQ(value, ask(read, read_payload)) << read;
    if (again) break;
    // The daemon ends, and starts again on the same phone.
    std::string error;
    device_.reset();
    device_ = sim::SimulatedDevice::open(root_, &error);
    EXPECT_EQ(0, dmi_init(-1));
    EXPECT_EQ("1", ask(214));
    for (const char* name : {"camped_band", "wcdma_max_power", "flight_mode"})
      EXPECT_FALSE(std::filesystem::exists(root_ + "/sim/modem/" + name)) << name;
  }
}

TEST_F(ModemTest, ReadsAPersonsFiles) {
  EXPECT_EQ("A0000000000000", ask(157));
  std::ofstream(root_ + "/sim/modem/meid") << "A1000000000001\n";
  EXPECT_EQ("A1000000000001", ask(157));
  std::ofstream(root_ + "/sim/modem/impl") << std::string(5000, 'i');
  EXPECT_EQ(std::string(2048, 'i'), ask(102));
}

TEST_F(ModemTest, JudgesPayloads) {
  const std::tuple<int, std::string, std::string> rows[] = {
      {116, "", "IMEI WRITE FAIL"},
      {116, "1234567890123", "IMEI WRITE FAIL"},
      {116, "1234567890123a", "IMEI WRITE FAIL"},
      {116, "1234567\000890123"s, "IMEI WRITE FAIL"},
      {20, "0", "FAIL"},
      {20, "95", "FAIL"},
      {20, "4x", "FAIL"},
      {20, "12,1,0\0"s, "OK"},
      {201, "\0"s, "1"},
      {201, "\2", "\0"s},
      {550, nv_packet(39, 1, ""), kFailed},
      {550, nv_packet(38, 1, "").substr(1), kFailed},
      {155, std::string(256, 'b'), kFailed},
  };
  for (const auto& [opcode, payload, answer] : rows)
    EXPECT_EQ(answer, ask(opcode, payload)) << opcode << " " << payload;
  EXPECT_EQ("", ask(117));
}

TEST_F(ModemTest, HalfATransferReplacesNothing) {
  for (const std::string& chunk : {std::string(255, 'a'), "b"s}) {
    modem().fail_request(1);
    EXPECT_EQ(kFailed, ask(155, chunk));
    // A sender repeats a chunk after it has opened the interface again.
    EXPECT_EQ(0, dmi_init(dmi_client_handle_release(-1)));
    EXPECT_EQ("OK", ask(155, chunk));
  }
  EXPECT_EQ("OK", ask(155, std::string(255, 'h')));
  for (int reading = 0; reading < 2; ++reading) {
    for (const std::string& chunk : {std::string(255, 'a'), "b"s}) EXPECT_EQ(chunk, ask(156)) << reading;
  }
  device().reboot();
  dmi_init(-1);
  ask(155, "new");
  EXPECT_EQ("new", ask(156)) << "a reboot forgets half a transfer";
  EXPECT_EQ("1", ask(8));
  EXPECT_EQ("", ask(156));
}

TEST_F(ModemTest, SurvivesEveryOpcodeWithEveryPayload) {
  std::string garbage;
  for (int i = 0; i < 2048; ++i) garbage += static_cast<char>(i * 131);
  for (int opcode = -1; opcode <= 1000; ++opcode) {
    for (const std::string& payload : {""s, "1"s, garbage}) ask(opcode, payload);
  }
  EXPECT_EQ(kFailed, ask(777));
  for (int length : {-1, 2049, INT32_MIN, INT32_MAX}) {
    rzcmd_request req = {.opcode = 117, .data_len = length, .data = {}};
    EXPECT_EQ(-1, request_to_modem_via_dmi(&req, &last_)) << length;
    EXPECT_EQ(RZCMD_FAIL, last_.result);
  }
}

TEST_F(ModemTest, ARowWinsWhenItMatches) {
  write_rows(
      "  117 *\t\"first\"  status=-3\t# why\n"
      "117 * \"second\"\n"
      "20 \"30\" \"exact\"\n"
      "20 hex:3330 \"bytes\"\n"
      "20 \"3\"* \"begins\"\n"
      "20 hex:00* hex:00fFa0\n"
      "102 \"\" \"\\\"q\\\\\\n\\x00\\xfe\"\r\n"
      "203 * fail\n");
  const std::tuple<int, std::string, std::string> rows[] = {
      {20, "30", "exact"}, {20, "30\0\0"s, "exact"},    {20, "30\0x"s, "begins"}, {20, "\0z"s, "\0\xff\xa0"s},
      {20, "4", "OK"},     {102, "", "\"q\\\n\0\xfe"s}, {102, "x", ""},           {203, "pid", kFailed},
      {117, "", "first"},
  };
  for (const auto& [opcode, payload, answer] : rows)
    EXPECT_EQ(answer, ask(opcode, payload)) << opcode << " " << payload;
  EXPECT_EQ(-3, last_.result_status);
}

TEST_F(ModemTest, ReadsItsFileAgainWhenAPersonEditsIt) {
  std::string standard;
  ASSERT_TRUE(sim::read_file(root_ + "/sim/modem.conf", &standard));
  EXPECT_EQ("", ask(117));
  // Every example of the file works once its "#" is gone.
  standard.erase(0, standard.find("# Examples"));
  for (size_t at; (at = standard.find("\n# ")) != std::string::npos;) standard.erase(at + 1, 2);
  write_rows(standard);
  EXPECT_EQ("490154203237518", ask(117));
  EXPECT_EQ("IMEI WRITE FAIL", ask(116, "351234567890123"));
  EXPECT_EQ("FAIL", ask(20, "30"));
  std::filesystem::remove(root_ + "/sim/modem.conf");
  EXPECT_EQ("", ask(117));
  for (const std::string& line : device().logs.lines(LOG_ID_MAIN)) ADD_FAILURE() << line;
}

TEST_F(ModemTest, NamesARowThatMakesNoSenseOnceAndGoesOn) {
  const std::pair<std::string, std::vector<std::string>> wrong[] = {
      {"'972' is not an opcode of the modem: write a number from 0 to 971", {"972 * \"x\""}},
      {"no payload after the opcode: write *, \"text\", \"begins so\"*, hex:0a1b or hex:0a1b*",
       {"117", "117 \"open", "117 \"a\"b \"x\"", "117 \"\\q\" \"x\"", "117 hex:0a1 \"x\"", "117 ** \"x\""}},
      {"no answer after the payload: write \"text\", hex:0a1b or fail",
       {"117 *", "117 * failed", "117 * \"\\x1\"", "117 * \"\\", "117 * \"x\"*"}},
      {"'delay=-1' after the answer: write status=NUMBER, delay=MILLISECONDS or nothing", {"117 * \"x\" delay=-1"}},
      {"'status=99999999999' after the answer: write status=NUMBER, delay=MILLISECONDS or nothing",
       {"117 * \"x\" status=99999999999"}},
  };
  std::string text;
  for (const auto& [error, rows] : wrong)
    for (const std::string& row : rows) text += row + "\n";
  write_rows(text + "117 * \"sane\"\n");
  for (int i = 0; i < 3; ++i) EXPECT_EQ("sane", ask(117));
  int line = 0;
  for (const auto& [error, rows] : wrong)
    for (const std::string& row : rows)
      EXPECT_EQ(1, complaints("sim/modem.conf:" + std::to_string(++line) + ": " + error)) << row;
}

TEST_F(ModemTest, AnswersLateByThePhonesClock) {
  write_rows("200 * hex:00 delay=12000\n");
  modem().set_delay(500);
  EXPECT_EQ("\0"s, ask(200));
  EXPECT_EQ(12500000u, device().clock.slept());

  device().clock.hold_sleeps();
  std::string late;
  std::thread client([&] { late = ask(117); });
  device().clock.await_waiters();
  modem().lose_connection();
  EXPECT_EQ(0, dmi_init(0));
  device().clock.advance(500000);
  client.join();
  EXPECT_EQ(kFailed, late) << "what waits when the connection breaks gets no answer over the next one";
}

}  // namespace
}  // namespace atd
