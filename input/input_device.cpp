#include "input/input_device.h"

#include <fcntl.h>
#include <linux/input.h>
#include <unistd.h>

#include "platform/input_event.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/text_writer.h"

namespace atd {

namespace {

constexpr int kDevices = 7;
constexpr int kCapabilityBytes = 96;

bool has_bit(const unsigned char* bits, int bit) {
  return bit >= 0 && bit < 8 * kCapabilityBytes && (bits[bit / 8] >> (bit % 8) & 1) != 0;
}

}  // namespace

int open_input_device(int type, int code, int* number, void (*skipped)(int number)) {
  for (int n = 0; n < kDevices; ++n) {
    char path[32];
    TextWriter(path).format("/dev/input/event%d", n);
    int fd = open(device_path(path), O_RDWR | O_CLOEXEC);
    if (fd < 0) continue;
    SLOGI("Open input%d", n);
    unsigned char bits[kCapabilityBytes] = {};
    if (os_ioctl(fd, EVIOCGBIT(type, sizeof bits), bits) >= 0 && has_bit(bits, code)) {
      *number = n;
      return fd;
    }
    if (skipped) skipped(n);
    close(fd);
  }
  SLOGE("Can't find fd!");
  return -1;
}

bool write_input_event(int fd, uint16_t type, uint16_t code, int32_t value) {
  const InputEvent event = {0, 0, type, code, value};
  return write(fd, &event, sizeof event) == sizeof event;
}

}  // namespace atd
