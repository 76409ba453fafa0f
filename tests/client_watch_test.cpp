// What a monitor shows of what goes over the socket, and what is masked there and elsewhere.
#include <fstream>

#include "client/identities.h"
#include "client/json.h"
#include "tests/client_daemon.h"

namespace atd::client {
namespace {

using namespace std::string_literals;

TEST(Client, MonitorTellsRecordsAndAtCommandsApart) {
  std::string stream;
  const std::pair<std::string, std::string> kRows[] = {
      {request_line(4010, "p").substr(11), "request get_serial_number (4010), 1 byte: \"p\""},
      {"ATDabcdefghijklm", "ATDabcdefghijklm"},  // base64 letters, a data_len that does not fit
      {to_base64("\5\0\0\0\1\0\0\0"s), "BQAAAAEAAAA="},
      {to_base64("\5\0\0\0\0\0\0\0x"s), "BQAAAAAAAAB4"},
      {"AT\x1b\n\xff", "AT\\x1b\\n\\xff"},
      {"====", "===="}};
  for (const auto& row : kRows) stream += "605 " + row.first + '\0';
  stream += "200 " + kRows[0].first + '\0';
  FakeDaemon stops([](const std::string&) { return ""; }, stream + "602 end\0BYE"s);
  Outcome outcome = atdctl(stops, {"monitor"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  for (const auto& row : kRows) EXPECT_TRUE(has(outcome.out, " platform  " + row.second + "\n")) << outcome.out;
  const std::string json = atdctl(stops, {"monitor", "--json"}).out;
  EXPECT_TRUE(has(json, R"("hex":null,"decoded":{"record":"request","opcode":4010,)")) << json;
  EXPECT_TRUE(has(json, R"("text":null,"hex":"41541b0aff","decoded":null)")) << json;
  EXPECT_TRUE(has(atdctl(stops, {"monitor", "--count", "9"}).err, "the daemon stopped after 7 of 9"));
  const std::pair<const char*, int> kFilters[] = {{"--opcode get_serial_number --count 1", 1},
                                                  {"--opcode 5", 0},
                                                  {"--code 605 --code 602", 7},
                                                  {"--code 602", 1},
                                                  {"--code 200", 1},
                                                  {"--for 0", 0}};
  for (const auto& [options, lines] : kFilters) {
    outcome = atdctl(stops, words("monitor "s + options));
    EXPECT_EQ(0, outcome.status) << outcome.err;
    EXPECT_EQ(lines, std::count(outcome.out.begin(), outcome.out.end(), '\n')) << outcome.out;
  }
  EXPECT_TRUE(has(atdctl(stops, words("monitor --count 10")).err, "stopped after 7 of 10")) << "a copy is shown";
  FakeDaemon quiet([](const std::string&) { return ""; });
  EXPECT_EQ(75, atdctl(quiet, words("monitor --for 0.01 --count 1")).status);
  FakeDaemon cut([](const std::string&) { return ""; }, "602 end\0"s + "200 AT CommBYE");
  EXPECT_EQ(69, atdctl(cut, {"monitor"}).status);
  FakeDaemon dies([](const std::string&) { return ""; }, answer(0, 9, "x") + "BYE");
  EXPECT_EQ(atdctl(dies, {"monitor"}).status, 69);
  EXPECT_EQ(atdctl(dies, {"monitor", "--count", "1"}).status, 0);
  outcome = atdctl(dies, words("monitor --follow --count 3"));
  EXPECT_EQ(0, outcome.status) << outcome.err;
  EXPECT_EQ(3, std::count(outcome.out.begin(), outcome.out.end(), '\n')) << outcome.out;
  EXPECT_TRUE(
      outcome.err.ends_with("is not there; it is waited for\natdctl: the daemon at " + dies.socket() + " is there\n"));
  outcome = atdctl(dies, words("monitor --follow --json --code 601 --for 0.1 --count 1"));
  EXPECT_EQ(75, outcome.status);
  EXPECT_TRUE(has(outcome.out, R"(Z","event":"gone"})") && has(outcome.out, R"(Z","event":"back"})")) << outcome.out;
  EXPECT_EQ(0, atdctl("/tmp/nowhere", words("monitor --follow --for 0.01")).status);
  EXPECT_TRUE(has(message_json({0, 5000}, 1, {601, "x", ""}), R"("time":"1970-01-01T00:00:00.000005Z","seq":1,)"));
}

TEST(Client, MasksIdentities) {
  const std::string folder = testing::TempDir() + "atdctl-identities-" + std::to_string(getpid());
  std::filesystem::create_directories(folder + "/sim/items");
  std::ofstream(folder + "/sim/items/9-12") << "SN-A7\0\0\0\0\0\0\0"s
                                            << "";
  std::ofstream(folder + "/sim/items/18-16") << "msn of mine 01\n";
  Identities identities(folder, false);
  const std::string imei = identities.in_text("490154203237518"), address = identities.in_text("00:1a:2B:33:44:55");
  EXPECT_TRUE(imei.starts_with("490154…18#") && imei.size() == 15u + 1) << imei;
  const std::pair<std::string, std::string> kRows[] = {
      {"IMEI:490154203237518,x", "IMEI:" + imei + ",x"},
      {"117 \"490154203237518\"", "117 \"" + imei + "\""},
      {"hex:001a2b334455 00-1A-2B-33-44-55", "hex:" + address + " " + address},
      {"A1000012345678", "A10000…78#"},
      {"it is msn of mine 01", "it is MSNOFM…01#"},
      {"E490154203237518", "E490154…18#"},
      // Neither too short, nor a part of something longer, nor another kind of thing.
      {"1234567890123", "1234567890123"},
      {"12345678901234567", "12345678901234567"},
      {"0x001a2b334455", "0x001a2b334455"},
      {"d41d8cd98f00b204ea12345678901234", "d41d8cd98f00b204ea12345678901234"},
      {"00:1a:2b:33:44:556", "00:1a:2b:33:44:556"},
      {"13:05:00.000001", "13:05:00.000001"},
      {"SN-A7", "SN-A7"}};
  for (const auto& [text, shown] : kRows) EXPECT_TRUE(identities.in_text(text).starts_with(shown)) << text;
  std::ofstream(folder + "/sim/items/37-16") << "CSN.new.value";
  EXPECT_EQ("CSNNEW…UE#", identities.in_text("CSN.new.value").substr(0, 12));
  std::ofstream(folder + "/sim/items/18-16") << "\xffmsn of mine";
  EXPECT_EQ("hex:FF6D73…65#", identities.in_text("hex:ff6d736e206f66206d696e65").substr(0, 16));
  EXPECT_EQ(imei, Identities(folder, false).in_text("490154203237518")) << "the key is kept";
  EXPECT_NE(imei.substr(11), identities.in_text("490154203237519").substr(11));
  EXPECT_EQ("490154203237518", Identities(folder, true).in_text("490154203237518"));
  EXPECT_TRUE(identities.in_data(1700, "12345").starts_with("…#"));
  std::filesystem::remove(folder + "/sim/identity-key");
  EXPECT_NE(imei, Identities(folder, false).in_text("490154203237518")) << "another phone has another key";

  // What a monitor shows and records is masked inside its records too.
  setenv("XDG_STATE_HOME", folder.c_str(), 1);
  const std::string recording = folder + "/recording", request = request_line(1700, "+123456789").substr(11);
  const std::string both = "490154203237518 SN0123456789", kept = "V10a_00 0xC9B5B9BB 16106127360 12:05:00Z";
  FakeDaemon daemon([](const std::string&) { return ""; },
                    answer(0, "490154203237518\0"s) + answer(0, "SN0123456789\n") + answer(0, both) +
                        answer(0, 99, both) + "605 " + request_line(5, both).substr(11) + '\0' + answer(0, kept) +
                        "605 AT%SN=SN0123456789\0"s + "605 AT=E490154203237518\0"s + "605 " + request + '\0');
  for (const char* options : {"", " --json"}) {
    const std::string hidden = atdctl(daemon, words("monitor --count 9 --record " + recording + options)).out,
                      full = atdctl(daemon, words("monitor --plain --count 9"s + options)).out;
    EXPECT_TRUE(has(hidden, kept) && has(hidden, "malformed: the answer's data_len is 99")) << hidden;
    for (const char* value : {"490154203237518", "SN0123456789", "123456789\""}) {
      EXPECT_FALSE(has(hidden, value)) << hidden;
      EXPECT_TRUE(has(full, value)) << full;
    }
    EXPECT_FALSE(has(hidden, to_base64("490154203237518").substr(4, 8))) << hidden;
  }
  EXPECT_TRUE(std::filesystem::exists(folder + "/atdctl/identity-key"));
  EXPECT_TRUE(has(atdctl(daemon, {"replay", recording}).err, "recording:1: identities are masked in this recording"));
  unsetenv("XDG_STATE_HOME");
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace atd::client
