// Files on the modem's file system: what the library asks, and what the simulated modem keeps.
#include <errno.h>
#include <fcntl.h>

#include <tuple>

#include "atd.h"
#include "simulator/files.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

class EfsTest : public Phone {
 protected:
  EfsTest() { EXPECT_EQ(0, efs_init(0)); }

  sim::Modem& modem() { return device().modem; }

  rzcmd_response answer(int result, const std::string& data, int data_len) {
    rzcmd_response rsp = {0, data_len, 0, ""};
    memcpy(rsp.data, &result, 4);
    data.copy(rsp.data + 4, sizeof rsp.data - 4);
    return rsp;
  }
};

TEST_F(EfsTest, AFileIsWrittenReadAndRemoved) {
  std::string written(5000, '\0'), read(6000, '#');
  for (size_t i = 0; i < written.size(); ++i) written[i] = static_cast<char>(i * 7);
  EXPECT_EQ(-ENOENT, efs_open("/nv/item", O_RDWR, 0));
  ASSERT_EQ(0, efs_open("/nv/item", O_CREAT | O_EXCL | O_RDWR, 0644));
  EXPECT_EQ(5000, efs_write(0, written.data(), 5000));
  EXPECT_EQ(-EEXIST, efs_open("nv/item", O_CREAT | O_EXCL | O_RDWR, 0));
  EXPECT_FALSE(std::filesystem::exists(root_ + "/sim/efs/nv/item")) << "it is there when it is whole";
  EXPECT_EQ(1, efs_open("nv//./item", O_RDONLY, 0)) << "the same file by another spelling";
  EXPECT_EQ(5000, efs_read(1, read.data(), 5000));
  EXPECT_EQ(0, efs_close(0));
  EXPECT_EQ(0, efs_open("/nv/item", O_WRONLY, 0)) << "the lowest free descriptor";
  EXPECT_EQ(0, efs_read(0, read.data(), 1));
  device().reboot();
  efs_init(0);
  ASSERT_EQ(0, efs_open("/nv/item", O_RDONLY, 0));
  EXPECT_EQ(0, efs_write(0, "x", 1));
  EXPECT_EQ(5000, efs_read(0, read.data(), 6000));
  EXPECT_EQ(written + "#", read.substr(0, 5001));
  EXPECT_EQ(1, efs_open("/nv/item", O_WRONLY | O_TRUNC, 0));
  EXPECT_EQ(0, efs_unlink("/nv/item"));
  EXPECT_EQ(0, efs_close(1));
  EXPECT_EQ(-ENOENT, efs_unlink("/nv/item")) << "a close does not bring it back";
  EXPECT_EQ(-EISDIR, efs_unlink("/nv"));
  EXPECT_EQ(-EISDIR, efs_open("/nv", O_RDONLY, 0));
}

TEST_F(EfsTest, WritingAtTheEndAndInPlace) {
  char got[4] = "###";
  for (int flags : {O_WRONLY | O_CREAT, O_WRONLY | O_APPEND}) efs_open("f", flags, 0);
  EXPECT_EQ(2, efs_write(0, "ab", 2));
  EXPECT_EQ(1, efs_write(1, "c", 1));
  EXPECT_EQ(0, efs_close(0));
  EXPECT_EQ(1, efs_write(1, "d", 1));
  EXPECT_EQ(0, efs_close(1));
  ASSERT_EQ(0, efs_open("f", O_RDWR, 0));
  EXPECT_EQ(1, efs_write(0, "A", 1));
  EXPECT_EQ(3, efs_read(0, got, 9));
  EXPECT_STREQ("bcd", got);
}

TEST_F(EfsTest, TheModemNeverLeavesItsFolder) {
  ASSERT_TRUE(sim::write_file(root_ + "/secret", "s"));
  std::filesystem::create_directory_symlink(root_, root_ + "/sim/efs/out");
  std::filesystem::create_symlink(root_ + "/secret", root_ + "/sim/efs/link");
  for (const char* path :
       {"../../secret", "/../../secret", "a/../../../secret", "..", "a/..", "out/secret", "link", "", "/", "."}) {
    EXPECT_LT(efs_open(path, O_RDWR | O_CREAT, 0), 0) << path;
  }
  for (const char* path : {"../../secret", "out/secret", "a/../../../secret"}) EXPECT_LT(efs_unlink(path), 0) << path;
  EXPECT_TRUE(std::filesystem::exists(root_ + "/secret"));
  // 128 characters fill the field without a terminator.
  const std::string longest = std::string(64, 'd') + "/" + std::string(63, 'f');
  EXPECT_EQ(0, efs_open(longest.c_str(), O_RDWR | O_CREAT, 0));
  EXPECT_EQ(0, efs_close(0));
  EXPECT_TRUE(std::filesystem::exists(root_ + "/sim/efs/" + longest));
}

TEST_F(EfsTest, TheModemRefusesWhatMakesNoSense) {
  EXPECT_EQ(-EINVAL, efs_open("f", O_ACCMODE | O_CREAT, 0));
  ASSERT_EQ(0, efs_open("f", O_RDWR | O_CREAT, 0));
  EXPECT_EQ(4000, efs_write(0, std::string(4000, 'w').data(), 4000));
  EXPECT_EQ(1, efs_open("f", O_RDONLY, 0));
  auto word = [](int value) { return std::string(reinterpret_cast<const char*>(&value), 4); };
  const std::string chunk(2032, 'w');
  const std::pair<std::string, int> rows[] = {
      {"", -EINVAL},
      {word(1) + word(0) + chunk, -EINVAL},
      {word(8) + word(0) + chunk, -EINVAL},
      {word(5) + "\0\0\0"s, -EINVAL},
      {word(5) + word(-1), -EBADF},
      {word(5) + word(2), -EBADF},
      {word(5) + word(32), -EBADF},
      {word(5) + word(INT32_MIN), -EBADF},
      {word(6) + word(0) + word(-1), -EINVAL},
      {word(6) + word(32) + word(1), -EBADF},
      {word(6) + word(1) + word(4000), 2032},  // an answer has room for that much
      {word(7) + word(0) + chunk + word(-1), -EINVAL},
      {word(7) + word(0) + chunk + word(2033), -EINVAL},
      {word(7) + word(INT32_MAX) + chunk + word(1), -EBADF},
  };
  for (const auto& [request, expected] : rows) {
    char out[2048];
    int length = 0, result = 0;
    EXPECT_EQ(0, get_tav_data_from_modem(401, request.data(), static_cast<int>(request.size()), out, &length));
    memcpy(&result, out, 4);
    EXPECT_EQ(expected, result) << testing::PrintToString(request);
  }
}

TEST_F(EfsTest, OpenFilesEndWithTheConnectionAndAtARestart) {
  for (auto lose : {+[](sim::Modem& m) { m.lose_connection(); }, +[](sim::Modem& m) { m.boot(); },
                    +[](sim::Modem&) { efs_release(-1); }}) {
    for (int i = 0; i < 32; ++i) EXPECT_EQ(i, efs_open("f", O_RDWR | O_CREAT, 0));
    EXPECT_EQ(-EMFILE, efs_open("f", O_RDWR, 0));
    lose(modem());
    EXPECT_EQ(0, efs_init(0));
    EXPECT_EQ(-EBADF, efs_close(0));
  }
  EXPECT_EQ(-ENOENT, efs_open("f", O_RDWR, 0)) << "what was not closed was not made";
  EXPECT_EQ(0, efs_open("f", O_RDWR | O_CREAT, 0));
  EXPECT_EQ(0, request_to_system(214, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(-EBADF, efs_close(0)) << "a reset modem has no open files";
}

TEST_F(EfsTest, RequestsHaveTheirLayout) {
  char buffer[5000];
  EXPECT_EQ(0, efs_read(0, buffer, 0));
  EXPECT_EQ(0, efs_read(0, buffer, -1));
  EXPECT_EQ(0, efs_write(0, buffer, 0));
  efs_open(std::string(200, 'p').c_str(), 0x11223344, 0x55667788);
  efs_unlink("/short");
  efs_write(7, std::string(2033, 'w').data(), 2033);
  // A short chunk leaves the rest of its area alone, and the next one comes after that.
  memset(buffer, '#', sizeof buffer);
  modem().set_raw_answer(401, answer(10, std::string(10, 'a'), 14));
  EXPECT_EQ(30, efs_read(2, buffer, 5000));
  for (int at : {0, 2032, 4064}) EXPECT_EQ("aaaaaaaaaa#", std::string(buffer + at, 11));
  const std::vector<sim::ModemRequest> requests = {
      {401, "\4"s + std::string(128, 'p') + "\0\0\0\x44\x33\x22\x11\x88\x77\x66\x55"s},
      {401, "\3/short"s + std::string(133, '\0')},
      {401, "\7\0\0\0\7\0\0\0"s + std::string(2032, 'w') + "\xf0\7\0\0"s},
      {401, "\6\0\0\0\2\0\0\0\xf0\7\0\0"s},
      {401, "\6\0\0\0\2\0\0\0\xf0\7\0\0"s},
      {401, "\6\0\0\0\2\0\0\0\xa8\3\0\0"s},
  };
  EXPECT_EQ(requests, modem().requests());
  modem().set_raw_answer(401, answer(0, "", 4));
  EXPECT_EQ(0, efs_read(0, buffer, 5000));
  EXPECT_EQ(7u, modem().requests().size()) << "an empty chunk is the last";
}

TEST_F(EfsTest, ImpossibleAnswers) {
  char buffer[2048 + 8];
  const std::tuple<int, int, int, int> rows[] = {
      {11, 15, 0, 0},   // more than was asked for
      {10, 13, 0, 10},  // more than was sent
      {10, -1, 0, 0},  {10, 3, 0, 0}, {10, 4000, 0, 0}, {-5, 4, 0, 0}, {1 << 30, 2048, 0, 0},
  };
  for (const auto& [result, data_len, read, write] : rows) {
    memset(buffer, '#', sizeof buffer);
    modem().set_raw_answer(401, answer(result, std::string(2000, 'x'), data_len));
    EXPECT_EQ(read, efs_read(0, buffer, 10)) << result << " " << data_len;
    EXPECT_EQ('#', buffer[0]);
    EXPECT_EQ(write, efs_write(0, buffer, 10)) << result << " " << data_len;
  }
  modem().set_raw_answer(401, answer(-2, "", 4));
  EXPECT_EQ(-2, efs_open("/x", 0, 0));
  modem().clear_answers();
  modem().lose_connection();
  EXPECT_EQ(0, efs_unlink("/x"));  // a failed exchange reads as zeros
  EXPECT_EQ(0, efs_read(0, buffer, 10));
}

}  // namespace
}  // namespace atd
