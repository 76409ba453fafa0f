// Keys and touches: written to the input devices, or asked of the platform.
#include <functional>
#include <thread>

#include <tuple>

#include "atd.h"
#include "tests/phone.h"
#include "transport/at_socket.h"

namespace atd {
namespace {

class InjectionTest : public Phone {
 protected:
  // The events of a device since the last call, as "type code value".
  std::vector<std::string> written(int device_number) {
    std::vector<std::string> result;
    auto events = device().input.events(device_number);
    for (size_t i = seen_[device_number]; i < events.size(); ++i) {
      EXPECT_EQ(0u, events[i].seconds + events[i].microseconds);
      result.push_back(std::to_string(events[i].type) + " " + std::to_string(events[i].code) + " " +
                       std::to_string(events[i].value));
    }
    seen_[device_number] = events.size();
    return result;
  }

  int touch(const char* mode, const char* x = "10", const char* y = "20") {
    return ctsa_send_event(const_cast<char*>(mode), const_cast<char*>(x), const_cast<char*>(y), nullptr);
  }

  auto descriptors() {
    auto folder = std::filesystem::directory_iterator("/proc/self/fd");
    return std::distance(begin(folder), end(folder));
  }

  size_t seen_[7] = {};
};

TEST_F(InjectionTest, TouchModes) {
  const std::vector<std::string> press = {"3 53 10", "3 54 20", "3 48 12", "3 58 68", "3 57 0", "0 0 0"};
  const std::vector<std::string> release = {"3 57 -1", "0 0 0"};
  const std::tuple<const char*, const char*> rows[] = {{"0", "r"}, {"1", "p"}, {"2", "pr"}, {"3", "prpr"},
                                                       {"4", "p"}, {"5", "r"}, {"x", "r"}};
  for (const auto& [mode, reports] : rows) {
    std::vector<std::string> wanted;
    for (const char* report = reports; *report; ++report) {
      const auto& part = *report == 'p' ? press : release;
      wanted.insert(wanted.end(), part.begin(), part.end());
    }
    EXPECT_EQ(0, touch(mode)) << mode;
    EXPECT_EQ(wanted, written(1)) << mode;
  }
  EXPECT_EQ(7, logged("We need this device to send event : event1"));
  EXPECT_EQ(-1, touch("6"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Not Supported"));
  EXPECT_TRUE(written(1).empty());

  auto before = descriptors();
  for (int i = 0; i < 20; ++i) touch(i % 2 ? "2" : "6");
  EXPECT_EQ(before, descriptors());

  device().faults.fail("ioctl");
  EXPECT_EQ(-1, touch("2"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Can't find fd!"));
  char modes[12 + 1] = "############";
  EXPECT_EQ(0, ctsa_support_list(modes));
  EXPECT_STREQ("0 1 2 3 4 5", modes);
  EXPECT_EQ(-1, send_event(-1, 0, 0, 0));
  EXPECT_EQ(-1, report_event(-1, 1, 0, 0));
}

TEST_F(InjectionTest, SeveralThreadsTakeTurns) {
  touch("2");
  written(1);
  const auto before = descriptors();
  std::vector<std::thread> threads;
  for (int n = 0; n < 4; ++n) {
    threads.emplace_back([&] {
      for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(0, touch("2"));
        send_key_native(116, 1);
        EXPECT_EQ(24, keypad_change_keycode(150));
        ckpd_mapping();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(before, descriptors());
  const std::vector<std::string> tap = {"3 53 10", "3 54 20", "3 48 12", "3 58 68",
                                        "3 57 0",  "0 0 0",   "3 57 -1", "0 0 0"};
  const auto all = written(1);
  ASSERT_EQ(200 * tap.size(), all.size());
  for (size_t i = 0; i < all.size(); ++i) ASSERT_EQ(tap[i % tap.size()], all[i]) << i;
  EXPECT_EQ(400u, written(0).size());
}

TEST_F(InjectionTest, NativeKeysGoToTheDeviceThatHasThem) {
  EXPECT_EQ(0, send_key_native(116, 1));  // power
  EXPECT_EQ((std::vector<std::string>{"1 116 1", "0 0 0"}), written(0));
  EXPECT_EQ(0, send_key_native(2, 0));  // digit 1
  EXPECT_EQ((std::vector<std::string>{"1 2 0", "0 0 0"}), written(2));
  EXPECT_EQ(1, logged("scancode : 2, status : 0"));
  EXPECT_EQ(1, logged("FOUND. input2"));
  for (int scancode : {500, -1, 768, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(0, send_key_native(scancode, 1));
    for (int n : {0, 1, 2}) EXPECT_TRUE(written(n).empty()) << scancode;
  }
  EXPECT_EQ(5, logged(ANDROID_LOG_ERROR, "Can't find fd!"));
  EXPECT_EQ(6, logged("Closed input0"));
}

TEST_F(InjectionTest, Mappings) {
  const std::pair<int, int> rows[] = {{'0', 7},  {'9', 16}, {'*', 17}, {'#', 18}, {'P', 5}, {'Q', 6},      {'R', 28},
                                      {150, 24}, {151, 25}, {'A', 0},  {-1, 0},   {256, 0}, {INT32_MAX, 0}};
  for (const auto& [code, number] : rows) EXPECT_EQ(number, keypad_change_keycode(code)) << code;
  EXPECT_EQ(16, testmode_key_mapping()['9']);
}

TEST_F(InjectionTest, PlatformKeys) {
  init_socket();
  Peer service(device().path("/dev/socket/atd"));
  service.line("x");
  service.next();
  char hash[] = "35", c[] = "67", none[] = "33", beyond[] = "99999";
  struct {
    std::function<int()> send;
    std::vector<std::pair<int, int>> requests;  // opcode and key number
  } const rows[] = {
      {[&] { return ckpd_send_event(hash); }, {{1202, 18}}},
      {[&] { return ckpd_send_event(c); }, {{1202, 82}}},
      {[&] { return ckpd_send_event(none); }, {{1202, 0}}},
      {[&] { return ckpd_send_event(beyond); }, {{1202, 0}}},
      {[&] { return SendKey('\5', 5); }, {{1203, 5}, {1204, 5}}},
      {[&] { return SendKey(1, '\6'); }, {{1204, 6}}},
      {[&] { return SendKey(0, '\6'); }, {{1203, 6}}},
  };
  for (const auto& row : rows) {
    int result = -1;
    std::thread sender([&] { result = row.send(); });
    for (const auto& [opcode, key] : row.requests) {
      EXPECT_EQ("605 " + request_text(opcode, std::string(1, static_cast<char>(key))), service.next());
      service.next();
      const rzcmd_response ok = {};
      service.line("atresponse " + encoded(&ok, 12));
      service.next(2);
    }
    sender.join();
    EXPECT_EQ(0, result);
  }
  EXPECT_EQ(500'000u, device().clock.slept());
  stop_socket();
}

}  // namespace
}  // namespace atd
