// The simulated modem as its clients see it through the vendor's interface, and its text file as a person sees it.
#include <errno.h>
#include <fcntl.h>

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
    rzcmd_request req = {};
    req.opcode = opcode;
    req.data_len = static_cast<int>(payload.copy(req.data, sizeof req.data));
    memset(&last_, 0x5a, sizeof last_);
    const int sent = request_to_modem_via_dmi(&req, &last_);
    EXPECT_EQ(sent == 0 ? RZCMD_OK : RZCMD_FAIL, last_.result) << opcode;
    EXPECT_EQ(bounded_length(last_.data_len), last_.data_len) << opcode;
    return sent == 0 ? data_of(last_) : kFailed;
  }

  // The daemon ends, and starts again on the same phone.
  void restart() {
    device_.reset();
    std::string error;
    device_ = sim::SimulatedDevice::open(root_, &error);
    ASSERT_TRUE(device_) << error;
    EXPECT_EQ(0, dmi_init(-1));
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
      {103, "b", "BCPL OK", 104, "", "b"},
      {105, "i", "IDDE OK", 106, "", "i"},
      {108, "f", "FUSG OK", 109, "", "f"},
      {114, "p2", "PID2 OK", 115, "", "p2"},
      {116, "490154203237518\0"s, "IMEI WRITE OK", 117, "", "490154203237518"},
      {122, std::string(2048, 'x'), "BTAD OK", 123, "", std::string(2048, 'x')},
      {203, "pid", "PID OK", 202, "", "pid"},
      {3, "", "1", 4, "", "1"},
      {7, "", "1", 27, "", "0"},
      {551, nv_packet(39, 550, nv), nv + '\0', 550, nv_packet(38, 550, ""), nv + '\0'},
      {551, nv_packet(39, 65535, nv), nv + '\0', 550, nv_packet(38, 65535, ""), nv + '\0'},
  };
  for (const auto& [write, payload, answer, read, read_payload, value] : rows)
    EXPECT_EQ(answer, ask(write, payload)) << write;
  for (const auto& [write, payload, answer, read, read_payload, value] : rows)
    EXPECT_EQ(value, ask(read, read_payload)) << read;
  restart();
  for (const auto& [write, payload, answer, read, read_payload, value] : rows)
    EXPECT_EQ(value, ask(read, read_payload)) << read;
}

TEST_F(ModemTest, GivesDefaultsForWhatWasNeverWrittenAndReadsAPersonsFiles) {
  EXPECT_EQ("", ask(117));
  EXPECT_EQ("", ask(102));
  EXPECT_EQ("", ask(550, nv_packet(38, 1, "")));
  EXPECT_EQ("A0000000000000", ask(157));
  std::ofstream(root_ + "/sim/modem/meid") << "A1000000000001\n";
  EXPECT_EQ("A1000000000001", ask(157));
  std::ofstream(root_ + "/sim/modem/impl") << std::string(5000, 'i');
  EXPECT_EQ(std::string(2048, 'i'), ask(102));
}

TEST_F(ModemTest, ARestartForgetsWhatHoldsUntilThen) {
  for (const auto& [opcode, payload] : {std::pair(3, ""), {20, "4"}, {25, ""}, {201, "\1"}}) {
    EXPECT_NE(kFailed, ask(opcode, payload)) << opcode;
  }
  EXPECT_EQ("1", ask(214));
  for (const char* name : {"camped_band", "wcdma_max_power", "flight_mode"}) {
    EXPECT_FALSE(std::filesystem::exists(root_ + "/sim/modem/" + name)) << name;
  }
  EXPECT_EQ("1", ask(4));
}

TEST_F(ModemTest, JudgesPayloads) {
  const std::tuple<int, std::string, std::string> rows[] = {
      {116, "", "IMEI WRITE FAIL"},
      {116, "1234567890123", "IMEI WRITE FAIL"},
      {116, "1234567890123a", "IMEI WRITE FAIL"},
      {116, "1234567\000890123"s, "IMEI WRITE FAIL"},
      {20, "0", "FAIL"},
      {20, "1", "OK"},
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

TEST_F(ModemTest, BulkDataGoesInAndOutInChunksWithAShortOneLast) {
  for (size_t size : {0, 1, 254, 255, 256, 510, 520}) {
    std::string data(size, '\0');
    for (size_t i = 0; i < size; ++i) data[i] = static_cast<char>(i * 7 + size);
    for (size_t at = 0; at <= size; at += 255) {
      modem().fail_request(1);
      EXPECT_EQ(kFailed, ask(155, data.substr(at, 255)));
      // A sender repeats a chunk after it has opened the interface again.
      EXPECT_EQ(0, dmi_init(dmi_client_handle_release(-1)));
      EXPECT_EQ("OK", ask(155, data.substr(at, 255)));
    }
    for (int reading = 0; reading < 2; ++reading) {
      std::string got, chunk;
      do {
        got += chunk = ask(156);
      } while (chunk.size() == 255);
      EXPECT_EQ(data, got) << size;
    }
  }
  EXPECT_EQ("OK", ask(155, std::string(255, 'h')));
  device().reboot();
  dmi_init(-1);
  EXPECT_EQ(255u, ask(156).size()) << "half a transfer replaces nothing";
  ask(155, "new");
  EXPECT_EQ("new", ask(156)) << "a reboot forgets half a transfer";
  EXPECT_EQ("1", ask(8));
  EXPECT_EQ("", ask(156));
}

TEST_F(ModemTest, SurvivesEveryOpcodeWithEveryPayload) {
  std::string garbage;
  for (int i = 0; i < 2048; ++i) garbage += static_cast<char>(i * 131);
  const std::string file_system[] = {"\3"s, "\4"s, "\5"s, "\6"s, "\7"s, "\10"s};
  for (int opcode = -1; opcode <= 1000; ++opcode) {
    for (const std::string& payload : {""s, "1"s, garbage, std::string(2048, '\xff')}) ask(opcode, payload);
  }
  for (const std::string& command : file_system) {
    for (size_t size : {0u, 7u, 139u, 2043u, 2047u}) {
      EXPECT_GE(ask(401, command + std::string(size, '\xff')).size(), 4u);
    }
  }
  EXPECT_EQ(kFailed, ask(777));
  for (int length : {-1, 2049, INT32_MIN, INT32_MAX}) {
    rzcmd_request req = {.opcode = 117, .data_len = length, .data = {}};
    rzcmd_response rsp = {};
    EXPECT_EQ(-1, request_to_modem_via_dmi(&req, &rsp)) << length;
    EXPECT_EQ(RZCMD_FAIL, rsp.result);
  }
}

TEST_F(ModemTest, FailsWhatItCannotStore) {
  std::filesystem::remove_all(root_ + "/sim/modem");
  for (int opcode : {101, 203}) EXPECT_EQ(kFailed, ask(opcode, "x")) << opcode;
  EXPECT_EQ(kFailed, ask(116, "490154203237518"));
  EXPECT_EQ(1, complaints("cannot write sim/modem/imei: No such file or directory"));
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
      "203 * fail\n"
      "13 * \"\"\n");
  struct {
    int opcode;
    std::string payload, answer;
    int status = 0;
  } const rows[] = {
      {117, "", "first", -3},
      {20, "30", "exact"},
      {20, "30\0\0"s, "exact"},
      {20, "30\0x"s, "begins"},
      {20, "31", "begins"},
      {20, "\0z"s, "\0\xff\xa0"s},
      {20, "4", "OK"},
      {102, "", "\"q\\\n\0\xfe"s},
      {102, "x", ""},
      {203, "pid", kFailed},
      {13, "", ""},
      {32, "", "OK"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.answer, ask(row.opcode, row.payload)) << row.opcode << " " << row.payload;
    EXPECT_EQ(row.status, last_.result_status) << row.opcode << " " << row.payload;
  }
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
  EXPECT_EQ(kFailed, ask(202));
  std::filesystem::remove(root_ + "/sim/modem.conf");
  EXPECT_EQ("", ask(117));
  for (const std::string& line : device().logs.lines(LOG_ID_MAIN)) ADD_FAILURE() << line;
}

TEST_F(ModemTest, NamesARowThatMakesNoSenseOnceAndGoesOn) {
  const std::string opcode = "is not an opcode of the modem: write a number from 0 to 971",
                    payload = "no payload after the opcode: write *, \"text\", \"begins so\"*, hex:0a1b or hex:0a1b*",
                    answer = "no answer after the payload: write \"text\", hex:0a1b or fail",
                    option = "after the answer: write status=NUMBER, delay=MILLISECONDS or nothing";
  struct {
    std::string row, error;
  } const rows[] = {
      {"imei * \"x\"", "'imei' " + opcode},
      {"972 * \"x\"", "'972' " + opcode},
      {"117", payload},
      {"117 \"open", payload},
      {"117 \"a\"b \"x\"", payload},
      {"117 \"\\q\" \"x\"", payload},
      {"117 hex:0a1 \"x\"", payload},
      {"117 ** \"x\"", payload},
      {"117 *", answer},
      {"117 * failed", answer},
      {"117 * \"\\x1\"", answer},
      {"117 * \"\\", answer},
      {"117 * \"x\"*", answer},
      {"117 * \"x\" delay=-1", "'delay=-1' " + option},
      {"117 * \"x\" status=99999999999", "'status=99999999999' " + option},
      {"117 * \"" + std::string(2049, 'x') + "\"", "an answer of 2049 bytes: write at most 2048"},
  };
  std::string text = "# rows\n";
  for (const auto& row : rows) text += row.row + "\n";
  write_rows(text + "117 * \"sane\"\n");
  for (int i = 0; i < 3; ++i) EXPECT_EQ("sane", ask(117));
  int line = 1;
  for (const auto& row : rows) {
    EXPECT_EQ(1, complaints("sim/modem.conf:" + std::to_string(++line) + ": " + row.error)) << row.row;
  }
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

TEST_F(ModemTest, AnswersWhatATestPrepared) {
  write_rows("117 * \"row\"\n");
  modem().set_answer(117, "always", 9);
  modem().set_answers(117, {"one", ""});
  for (const char* expected : {"one", "", "always", "always"}) EXPECT_EQ(expected, ask(117));
  EXPECT_EQ(9, last_.result_status);
  modem().clear_answers();
  EXPECT_EQ("row", ask(117));

  rzcmd_request req = {.opcode = 156, .data_len = 0, .data = {}};
  modem().set_answer(156, std::string(3000, 'l'));
  EXPECT_EQ(0, request_to_modem_via_dmi(&req, &last_));
  EXPECT_EQ(3000, last_.data_len);
  EXPECT_EQ('l', last_.data[2047]);
  rzcmd_response raw = {.result = 77, .data_len = -4, .result_status = 5, .data = {'r'}};
  modem().set_raw_answer(156, raw);
  EXPECT_EQ(0, request_to_modem_via_dmi(&req, &last_));
  EXPECT_EQ(0, memcmp(&raw, &last_, sizeof raw));
}

TEST_F(ModemTest, FailsOnRequest) {
  modem().fail_request(2);
  EXPECT_EQ("OK", ask(13));
  EXPECT_EQ(kFailed, ask(13));
  EXPECT_EQ("OK", ask(13));

  device().faults.fail("request_to_modem_via_dmi 117", 1);
  EXPECT_EQ("OK", ask(13));
  EXPECT_EQ(kFailed, ask(117));
  EXPECT_EQ("", ask(117));

  modem().lose_connection();
  modem().fail_init(2);
  EXPECT_EQ(kFailed, ask(13));
  EXPECT_NE(0, dmi_init(dmi_client_handle_release(-1)));
  EXPECT_NE(0, dmi_init(0));
  EXPECT_EQ(kFailed, ask(13));
  EXPECT_EQ(0, dmi_init(0));
  EXPECT_EQ("OK", ask(13));
  device().faults.fail("dmi_init", 1);
  EXPECT_NE(0, dmi_init(0));
  EXPECT_EQ(kFailed, ask(13));

  for (int i = 0; i < 10001; ++i) ask(117, std::to_string(i));
  ASSERT_EQ(10000u, modem().requests().size());
  EXPECT_EQ((sim::ModemRequest{117, "1"}), modem().requests().front());
  EXPECT_EQ((sim::ModemRequest{117, "10000"}), modem().requests().back());
}

class ModemFilesTest : public ModemTest {
 protected:
  static constexpr int kNoAnswer = -12345;

  // One operation's result word; the bytes after it in *bytes.
  int operate(std::string request, std::vector<std::pair<size_t, int32_t>> words, std::string* bytes = nullptr) {
    constexpr size_t kLengths[] = {0, 0, 0, 140, 140, 8, 12, 2044};
    request.resize(kLengths[static_cast<size_t>(request[0])]);
    for (auto [offset, word] : words) memcpy(&request[offset], &word, sizeof word);
    const std::string answer = ask(401, request);
    int32_t result;
    if (answer == kFailed) return kNoAnswer;
    memcpy(&result, answer.data(), sizeof result);
    if (bytes) *bytes = answer.substr(sizeof result);
    return result;
  }

  int unlink(const std::string& path) { return operate("\3" + path, {}); }
  int open(const std::string& path, int flags) { return operate("\4" + path, {{132, flags}, {136, 0}}); }
  int close(int file) { return operate("\5", {{4, file}}); }
  int read(int file, int count, std::string* bytes) { return operate("\6", {{4, file}, {8, count}}, bytes); }
  int write(int file, const std::string& bytes, int count) {
    return operate("\7" + std::string(7, '\0') + bytes, {{4, file}, {2040, count}});
  }
};

TEST_F(ModemFilesTest, WritesAndReadsBack) {
  std::string got;
  EXPECT_EQ(-ENOENT, open("/nv/item/one", O_RDWR));
  ASSERT_EQ(0, open("/nv/item/one", O_RDWR | O_CREAT | O_EXCL));
  EXPECT_EQ(2032, write(0, std::string(2032, 'a'), 2032));
  EXPECT_EQ(3, write(0, "end", 3));
  EXPECT_EQ(1, open("nv//./item/one", O_RDONLY)) << "the same file by another spelling";
  EXPECT_EQ(2032, read(1, 5000, &got)) << "an answer has room for that much";
  EXPECT_EQ(3, read(1, 2032, &got));
  EXPECT_EQ("end", got);
  EXPECT_EQ(-EEXIST, open("nv/item/one", O_RDWR | O_CREAT | O_EXCL));
  EXPECT_FALSE(std::filesystem::exists(root_ + "/sim/efs/nv/item/one")) << "it is there when it is whole";
  EXPECT_EQ(0, close(0));
  EXPECT_EQ(2035u, std::filesystem::file_size(root_ + "/sim/efs/nv/item/one"));
  EXPECT_EQ(0, open("nv/item/one", O_WRONLY | O_TRUNC)) << "the lowest free descriptor, mode 0 or not";
  EXPECT_EQ(-EBADF, read(0, 1, &got));
  EXPECT_EQ(0, unlink("/nv/item/one"));
  EXPECT_EQ(0, close(0));
  EXPECT_EQ(-ENOENT, unlink("/nv/item/one")) << "a close does not bring it back";
  EXPECT_EQ(-EISDIR, unlink("/nv/item"));
  EXPECT_EQ(-EISDIR, open("/nv/item", O_RDONLY));
  ASSERT_EQ(0, open("f", O_WRONLY | O_CREAT));
  EXPECT_EQ(2, write(0, "ab", 2));
  EXPECT_EQ(2, open("f", O_WRONLY | O_APPEND));
  EXPECT_EQ(1, write(2, "c", 1));
  EXPECT_EQ(0, close(0));
  EXPECT_EQ(1, write(2, "d", 1));
  EXPECT_EQ(0, close(2));
  ASSERT_EQ(0, open("f", O_RDWR));
  EXPECT_EQ(1, write(0, "A", 1));
  EXPECT_EQ(3, read(0, 9, &got));
  EXPECT_EQ("bcd", got);
}

TEST_F(ModemFilesTest, NeverLeavesItsFolder) {
  ASSERT_TRUE(sim::write_file(root_ + "/secret", "s"));
  std::filesystem::create_directory_symlink(root_, root_ + "/sim/efs/out");
  std::filesystem::create_symlink(root_ + "/secret", root_ + "/sim/efs/link");
  for (const char* path :
       {"../../secret", "/../../secret", "a/../../../secret", "..", "a/..", "out/secret", "link", "", "/", "."}) {
    EXPECT_LT(open(path, O_RDWR | O_CREAT), 0) << path;
  }
  for (const char* path : {"../../secret", "out/secret", "a/../../../secret"}) EXPECT_LT(unlink(path), 0) << path;
  EXPECT_TRUE(std::filesystem::exists(root_ + "/secret"));
  // 128 characters fill the field without a terminator.
  const std::string longest = std::string(64, 'd') + "/" + std::string(63, 'f');
  EXPECT_EQ(0, open(longest, O_RDWR | O_CREAT));
  EXPECT_EQ(0, close(0));
  EXPECT_TRUE(std::filesystem::exists(root_ + "/sim/efs/" + longest));
}

TEST_F(ModemFilesTest, RefusesWhatMakesNoSense) {
  std::string got;
  ASSERT_EQ(0, open("f", O_RDWR | O_CREAT));
  for (int file : {-1, 1, 31, 32, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(-EBADF, close(file)) << file;
    EXPECT_EQ(-EBADF, read(file, 1, &got)) << file;
    EXPECT_EQ(-EBADF, write(file, "x", 1)) << file;
  }
  EXPECT_EQ(-EINVAL, read(0, -1, &got));
  EXPECT_EQ(-EINVAL, write(0, "", -1));
  EXPECT_EQ(-EINVAL, write(0, "", 2033));
  EXPECT_EQ(-EINVAL, open("f", O_ACCMODE));
  int32_t result;
  for (const std::string& request : {""s, "\1"s, "\5\0\0\0\0\0\0"s, "\10"s + std::string(2047, '\0')}) {
    memcpy(&result, ask(401, request).data(), sizeof result);
    EXPECT_EQ(-EINVAL, result) << request.size();
  }
}

TEST_F(ModemFilesTest, LosesOpenFilesWithTheConnectionAndAtARestart) {
  for (auto lose : {+[](sim::Modem& m) { m.lose_connection(); }, +[](sim::Modem& m) { m.boot(); },
                    +[](sim::Modem&) { dmi_release(-1); }}) {
    for (int i = 0; i < 32; ++i) EXPECT_EQ(i, open("f", O_RDWR | O_CREAT));
    EXPECT_EQ(-EMFILE, open("f", O_RDWR));
    lose(modem());
    EXPECT_EQ(kNoAnswer, close(0));
    EXPECT_EQ(0, dmi_init(0));
    EXPECT_EQ(-EBADF, close(0));
  }
  EXPECT_EQ(-ENOENT, open("f", O_RDWR)) << "what was not closed was not made";
  EXPECT_EQ(0, open("f", O_RDWR | O_CREAT));
  EXPECT_EQ("1", ask(214));
  EXPECT_EQ(-EBADF, close(0)) << "a reset modem has no open files";
}

}  // namespace
}  // namespace atd
