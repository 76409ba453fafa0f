// The simulated input devices as the event injectors use them.
#include <errno.h>
#include <fcntl.h>
#include <linux/input.h>

#include "platform/os.h"
#include "simulator/files.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

class InputTest : public Phone {
 protected:
  // An open device, -1 where there is none; the caller closes it.
  int open_device(int n) {
    return open(device_path(("/dev/input/event" + std::to_string(n)).c_str()), O_RDWR | O_CLOEXEC);
  }

  // Whether a device has a key or an axis, as the driver's bits say.
  bool has(int n, int type, unsigned code) {
    unsigned char bits[96] = {};
    const int fd = open_device(n);
    const int size = os_ioctl(fd, EVIOCGBIT(type, sizeof bits), bits);
    close(fd);
    return size > static_cast<int>(code / 8) && (bits[code / 8] >> (code % 8) & 1);
  }

  void inject(int n, const std::vector<InputEvent>& events) {
    const int fd = open_device(n);
    unsigned char bits[96];
    EXPECT_EQ(8, os_ioctl(fd, EVIOCGBIT(EV_ABS, sizeof bits), bits));
    for (const InputEvent& event : events) EXPECT_EQ(16, write(fd, &event, sizeof event));
    close(fd);
  }

  void configure(const std::string& text) { ASSERT_TRUE(sim::write_file(root_ + "/sim/input.conf", text)); }

  int complaints(const std::string& text) { return device().logs.count(LOG_ID_MAIN, ANDROID_LOG_ERROR, "input", text); }
};

TEST_F(InputTest, DevicesHaveTheirKeysAndAxesAndNoOthers) {
  struct {
    int device, type;
    unsigned code;
    bool has;
  } const rows[] = {
      {0, EV_KEY, KEY_POWER, true},
      {0, EV_KEY, KEY_1, false},
      {0, EV_ABS, ABS_MT_POSITION_X, false},
      {1, EV_ABS, ABS_MT_POSITION_X, true},
      {1, EV_ABS, ABS_X, false},
      {1, EV_KEY, KEY_POWER, false},
      {2, EV_KEY, KEY_0, true},
      {2, EV_KEY, KEY_NUMERIC_STAR, true},
      {2, EV_ABS, ABS_MT_POSITION_X, false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.has, has(row.device, row.type, row.code)) << "event" << row.device << " " << row.code;
  }
  EXPECT_EQ(-1, open_device(3));
}

TEST_F(InputTest, CollectsWhatIsWrittenUntilTheNextBoot) {
  const InputEvent move = {0, 0, EV_ABS, ABS_MT_POSITION_X, 100}, lift = {0, 0, EV_ABS, ABS_MT_TRACKING_ID, -1},
                   sync = {0, 0, EV_SYN, SYN_REPORT, 0}, odd = {1, 2, 0xffff, 0xfffe, INT32_MIN};
  inject(1, {move, sync});
  inject(1, {lift, odd, sync});
  EXPECT_EQ((std::vector{move, sync, lift, odd, sync}), device().input.events(1));
  EXPECT_EQ(
      "type 3 (EV_ABS), code 53 (ABS_MT_POSITION_X), value 100\n"
      "-------------- SYN_REPORT ------------\n"
      "type 3 (EV_ABS), code 57 (ABS_MT_TRACKING_ID), value -1\n"
      "type 65535 (?), code 65534 (?), value -2147483648\n"
      "-------------- SYN_REPORT ------------\n",
      device().input.decode(1));
  const int fd = open_device(1);
  EXPECT_EQ(7, write(fd, "a part\n", 7));
  close(fd);
  EXPECT_EQ(5u, device().input.events(1).size());
  device().reboot();
  EXPECT_EQ("", device().input.decode(1));
  EXPECT_EQ("", device().input.decode(9)) << "a device that does not exist";
}

TEST_F(InputTest, FollowsItsFileAndNamesWhatMakesNoSense) {
  configure(
      "event0 key 2-4 0x10\n"
      "event0 key 767\n"
      "event5 axis 63\n"
      "event32 key 1\n"
      "mouse key 1\n"
      "event0 wheel 1\n"
      "event0 key 768\n"
      "event0 axis 5-4\n"
      "event0 axis 2-\n"
      "event0 axis KEY_POWER\n");
  EXPECT_TRUE(has(0, EV_KEY, 4));
  EXPECT_TRUE(has(0, EV_KEY, 767));
  EXPECT_FALSE(has(0, EV_KEY, KEY_POWER));
  EXPECT_FALSE(has(1, EV_ABS, ABS_MT_POSITION_X)) << "a device that the file no longer has";
  EXPECT_TRUE(has(5, EV_ABS, 63));
  const std::string
      axis =
          "is not a code of an axis: write a number from 0 to 63, a range such as 2-11, or a name such as "
          "ABS_MT_POSITION_X",
      key = "is not a code of a key: write a number from 0 to 767, a range such as 2-11, or a name such as KEY_POWER";
  for (const std::string& text :
       {"1: '0x10' " + key, "4: 'event32' is not a device: write event0 to event31"s,
        "5: 'mouse' is not a device: write event0 to event31"s, "6: 'wheel' after the device: write name, key or axis"s,
        "7: '768' " + key, "8: '5-4' " + axis, "9: '2-' " + axis, "10: 'KEY_POWER' " + axis}) {
    EXPECT_EQ(1, complaints("sim/input.conf:" + text)) << text;
  }
}

}  // namespace
}  // namespace atd
