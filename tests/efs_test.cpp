// Files on the modem's file system.
#include <fcntl.h>

#include <tuple>

#include "atd.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

class EfsTest : public Phone {
 protected:
  EfsTest() { EXPECT_EQ(0, efs_init(0)); }

  // The 32-bit field at an offset of a request's data.
  int field(const sim::ModemRequest& request, size_t offset) {
    int value = -1;
    if (offset + 4 <= request.payload.size()) memcpy(&value, request.payload.data() + offset, 4);
    return value;
  }

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
  int fd = efs_open("/nv/item", O_CREAT | O_RDWR | O_TRUNC, 0644);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(5000, efs_write(fd, written.data(), 5000));
  EXPECT_EQ(0, efs_close(fd));
  device().reboot();
  efs_init(0);
  fd = efs_open("/nv/item", O_RDONLY, 0);
  device().modem.clear_requests();
  EXPECT_EQ(5000, efs_read(fd, read.data(), 5000));
  EXPECT_EQ(written + "#", read.substr(0, 5001));
  auto requests = device().modem.requests();
  ASSERT_EQ(3u, requests.size());
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(12u, requests[i].payload.size());
    EXPECT_EQ(i < 2 ? 2032 : 936, field(requests[i], 8));
  }
  EXPECT_EQ(0, efs_unlink("/nv/item"));
  EXPECT_LT(efs_open("/nv/item", O_RDONLY, 0), 0);
  EXPECT_LT(efs_close(99), 0);
}

TEST_F(EfsTest, RequestsHaveTheirLayout) {
  device().modem.clear_requests();
  const std::string path(200, 'p');
  efs_open(path.c_str(), 0x11223344, 0x55667788);
  efs_unlink("/short");
  efs_write(7, std::string(2033, 'w').data(), 2033);
  auto requests = device().modem.requests();
  for (const auto& request : requests) EXPECT_EQ(401, request.opcode);
  EXPECT_EQ("\4"s + std::string(128, 'p') + "\0\0\0\x44\x33\x22\x11\x88\x77\x66\x55"s, requests[0].payload);
  EXPECT_EQ("\3/short"s + std::string(133, '\0'), requests[1].payload);
  EXPECT_EQ(2044u, requests[2].payload.size());
  EXPECT_EQ(7, requests[2].payload[0]);
  EXPECT_EQ(7, field(requests[2], 4));
  EXPECT_EQ(std::string(2032, 'w'), requests[2].payload.substr(8, 2032));
  EXPECT_EQ(2032, field(requests[2], 2040));
}

TEST_F(EfsTest, ShortAndEmptyChunks) {
  char buffer[5000];
  device().modem.clear_requests();
  EXPECT_EQ(0, efs_read(0, buffer, 0));
  EXPECT_EQ(0, efs_read(0, buffer, -1));
  EXPECT_EQ(0, efs_write(0, buffer, 0));
  EXPECT_TRUE(device().modem.requests().empty());

  // A short chunk leaves the rest of its area alone, and the next one comes after that.
  memset(buffer, '#', sizeof buffer);
  device().modem.set_raw_answer(401, answer(10, std::string(10, 'a'), 14));
  EXPECT_EQ(30, efs_read(0, buffer, 5000));
  EXPECT_EQ("aaaaaaaaaa#", std::string(buffer, 11));
  EXPECT_EQ("aaaaaaaaaa#", std::string(buffer + 2032, 11));
  EXPECT_EQ("aaaaaaaaaa#", std::string(buffer + 4064, 11));
  device().modem.clear_requests();
  device().modem.set_raw_answer(401, answer(0, "", 4));
  EXPECT_EQ(0, efs_read(0, buffer, 5000));
  EXPECT_EQ(1u, device().modem.requests().size());
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
    device().modem.set_raw_answer(401, answer(result, std::string(2000, 'x'), data_len));
    EXPECT_EQ(read, efs_read(0, buffer, 10)) << result << " " << data_len;
    EXPECT_EQ('#', buffer[0]);
    EXPECT_EQ(write, efs_write(0, buffer, 10)) << result << " " << data_len;
  }
  device().modem.set_raw_answer(401, answer(-2, "", 4));
  EXPECT_EQ(-2, efs_open("/x", 0, 0));
  device().modem.clear_answers();
  device().modem.lose_connection();
  EXPECT_EQ(0, efs_unlink("/x"));  // a failed exchange reads as zeros
  EXPECT_EQ(0, efs_read(0, buffer, 10));
}

}  // namespace
}  // namespace atd
