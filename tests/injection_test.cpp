// Keys and touches: written to the input devices of the simulated phone, or asked of the platform.
#include <fcntl.h>

#include <functional>
#include <thread>
#include <tuple>

#include "atd.h"
#include "platform/os.h"
#include "simulator/files.h"
#include "tests/phone.h"
#include "transport/at_socket.h"

using namespace std::string_literals;

// The write that is cut short, counted from now; 0 is none.
static int g_short_write = 0;

extern "C" ssize_t __real_write(int fd, const void* bytes, size_t size);
extern "C" ssize_t __wrap_write(int fd, const void* bytes, size_t size) {
  return g_short_write > 0 && --g_short_write == 0 ? ssize_t(size / 2) : __real_write(fd, bytes, size);
}

namespace atd {
namespace {

const std::vector<std::string> kPress = {"3 53 10", "3 54 20", "3 48 12", "3 58 68", "3 57 0", "0 0 0"};
const std::vector<std::string> kRelease = {"3 57 -1", "0 0 0"};

// The events of a touch; each 'p' is a press, each 'r' a release.
std::vector<std::string> touches(const std::string& reports) {
  std::vector<std::string> result;
  for (char report : reports) {
    const auto& part = report == 'p' ? kPress : kRelease;
    result.insert(result.end(), part.begin(), part.end());
  }
  return result;
}

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

  size_t seen_[7] = {};
};

TEST_F(InjectionTest, TouchModes) {
  const std::tuple<const char*, const char*> rows[] = {{"0", "r"}, {"1", "p"}, {"2", "pr"}, {"3", "prpr"},
                                                       {"4", "p"}, {"5", "r"}, {"x", "r"}};
  for (const auto& [mode, reports] : rows) {
    EXPECT_EQ(0, touch(mode)) << mode;
    EXPECT_EQ(touches(reports), written(1)) << mode;
  }
  EXPECT_EQ(7, logged("We need this device to send event : event1"));
  EXPECT_EQ(-1, touch("6"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Not Supported"));
  EXPECT_TRUE(written(1).empty());

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
        EXPECT_EQ(-1, touch("6"));
        send_key_native(116, 1);
        send_key_native(500, 1);
        EXPECT_EQ(24, keypad_change_keycode(150));
        ckpd_mapping();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(before, descriptors());
  std::string taps;
  for (int i = 0; i < 200; ++i) taps += "pr";
  EXPECT_EQ(touches(taps), written(1));
  EXPECT_EQ(400u, written(0).size());
}

TEST_F(InjectionTest, AShortWriteStopsNothingThatFollows) {
  for (int nth = 1; nth <= 8; ++nth) {
    g_short_write = nth;
    // Only the end of a report counts.
    EXPECT_EQ(nth == 6 || nth == 8 ? -1 : 0, touch("2")) << nth;
    auto rest = touches("pr");
    rest.erase(rest.begin() + nth - 1);
    EXPECT_EQ(rest, written(1)) << nth;
    EXPECT_EQ(nth, logged(ANDROID_LOG_ERROR, "Write Failed.")) << nth;
  }
  const std::tuple<const char*, const char*> keys[] = {{"Write failed", "0 0 0"}, {"Write Failed.(2)", "1 116 1"}};
  for (int nth = 1; const auto& [line, rest] : keys) {
    g_short_write = nth++;
    EXPECT_EQ(0, send_key_native(116, 1)) << line;
    EXPECT_EQ(std::vector<std::string>{rest}, written(0)) << line;
    EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, line)) << line;
  }
}

TEST_F(InjectionTest, DevicesFollowTheirFile) {
  ASSERT_TRUE(sim::write_file(root_ + "/sim/input.conf",
                              "event6 key 766-767 0x10\nevent6 axis 53\nevent7 key 700\n"
                              "event32 key 1\nevent0 wheel 1\nevent0 key 768\nevent0 axis 5-4\n"
                              "event0 axis 2-\nevent0 axis KEY_POWER\n"));
  EXPECT_EQ(0, send_key_native(766, 1));
  EXPECT_EQ(0, send_key_native(767, 1));
  EXPECT_EQ(0, touch("5"));
  EXPECT_EQ((std::vector<std::string>{"1 766 1", "0 0 0", "1 767 1", "0 0 0", "3 57 -1", "0 0 0"}), written(6));
  EXPECT_EQ(0, send_key_native(700, 1));
  EXPECT_EQ(0, send_key_native(116, 1));
  EXPECT_EQ(2, logged(ANDROID_LOG_ERROR, "Can't find fd!"));
  auto codes = [](const std::string& what, const char* last, const char* name) {
    return " is not a code of " + what + ": write a number from 0 to " + last +
           ", a range such as 2-11, or a name such as " + name;
  };
  const std::string axis = codes("an axis", "63", "ABS_MT_POSITION_X"), key = codes("a key", "767", "KEY_POWER");
  for (const std::string& text : {"1: '0x10'" + key, "4: 'event32' is not a device: write event0 to event31"s,
                                  "5: 'wheel' after the device: write name, key or axis"s, "6: '768'" + key,
                                  "7: '5-4'" + axis, "8: '2-'" + axis, "9: 'KEY_POWER'" + axis}) {
    EXPECT_EQ(1, device().logs.count(LOG_ID_MAIN, ANDROID_LOG_ERROR, "input", "sim/input.conf:" + text)) << text;
  }
}

TEST_F(InjectionTest, EventsAreShownAndEndWithTheBoot) {
  const int fd = open(device_path("/dev/input/event1"), O_WRONLY | O_APPEND | O_CLOEXEC);
  const InputEvent odd = {1, 2, 0xffff, 0xfffe, INT32_MIN};
  EXPECT_EQ(0, touch("0"));
  EXPECT_EQ(16, __real_write(fd, &odd, sizeof odd));
  EXPECT_EQ(7, __real_write(fd, "a part\n", 7));
  close(fd);
  EXPECT_EQ(
      "type 3 (EV_ABS), code 57 (ABS_MT_TRACKING_ID), value -1\n"
      "-------------- SYN_REPORT ------------\n"
      "type 65535 (?), code 65534 (?), value -2147483648\n",
      device().input.decode(1));
  device().reboot();
  EXPECT_EQ("", device().input.decode(1));
  EXPECT_EQ("", device().input.decode(9)) << "a device that does not exist";
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

// The codes that have a key number, each as "code=number ".
std::string numbered(const std::function<int(int code)>& number_of) {
  std::string text;
  for (int code = -1; code <= 256; ++code) {
    if (int number = number_of(code))
      text += std::string(1, static_cast<char>(code)) + "=" + std::to_string(number) + " ";
  }
  return text;
}

TEST_F(InjectionTest, TestModeKeys) {
  EXPECT_EQ("#=18 *=17 0=7 1=8 2=9 3=10 4=11 5=12 6=13 7=14 8=15 9=16 P=5 Q=6 R=28 \x96=24 \x97=25 ",
            numbered(keypad_change_keycode));
  EXPECT_EQ(0, keypad_change_keycode(INT32_MAX));
  EXPECT_EQ(16, testmode_key_mapping()['9']);
}

class PlatformKeys : public InjectionTest {
 protected:
  PlatformKeys() {
    init_socket();
    service_ = std::make_unique<Peer>(device().path("/dev/socket/atd"));
    service_->line("x");
    service_->next();
  }
  ~PlatformKeys() override { stop_socket(); }

  // Takes the next request, of a key, and answers it.
  std::pair<int, int> answer(int result) {
    const std::string text = service_->next();
    Request request;
    EXPECT_TRUE(text.starts_with("605 ") && decode_request(text.substr(4), &request)) << text;
    EXPECT_EQ(1u, request.payload.size());
    service_->next();
    service_->line(response_line({.result = result}));
    service_->next(2);
    return {request.opcode, static_cast<unsigned char>(request.payload[0])};
  }

  std::unique_ptr<Peer> service_;
};

TEST_F(PlatformKeys, EveryCharacterHasItsKey) {
  std::thread sender([] {
    for (int code = -1; code <= 256; ++code) EXPECT_EQ(0, ckpd_send_event(std::to_string(code).data())) << code;
  });
  EXPECT_EQ(
      "#=18 *=17 0=7 1=8 2=9 3=10 4=11 5=12 6=13 7=14 8=15 9=16 A=27 B=26 C=82 D=25 F=3 H=79 K=84 L=21 P=4 R=22 U=24 "
      "V=20 ^=19 ",
      numbered([&](int) {
        const auto [opcode, key] = answer(0);
        EXPECT_EQ(1202, opcode);
        return key;
      }));
  sender.join();
}

TEST_F(PlatformKeys, PressesAndReleases) {
  // Each request is opcode, key number and the answer's result.
  const std::tuple<std::function<int()>, std::vector<std::tuple<int, int, int>>, int> rows[] = {
      {[] { return SendKey('\5'); }, {{1202, 5, 7}}, 7},
      {[] { return SendKey('\5', 5); }, {{1203, 5, 0}, {1204, 5, 0}}, 0},
      {[] { return SendKey('\5', 0); }, {{1203, 5, 0}, {1204, 5, 6}}, 6},
      {[] { return SendKey('\5', -1); }, {{1203, 5, 7}, {1204, 5, 6}}, 7},  // a failed press is released
      {[] { return SendKey(1, '\6'); }, {{1204, 6, 0}}, 0},
      {[] { return SendKey(0, '\6'); }, {{1203, 6, 7}}, 7},
  };
  for (const auto& row : rows) {
    const auto& [send, requests, expected] = row;
    int result = -1;
    std::thread sender([&result, &send = send] { result = send(); });
    for (const auto& [opcode, key, answered] : requests) EXPECT_EQ(std::pair(opcode, key), answer(answered));
    sender.join();
    EXPECT_EQ(expected, result) << "row " << &row - rows;
  }
  EXPECT_EQ(500'000u, device().clock.slept());
}

}  // namespace
}  // namespace atd
