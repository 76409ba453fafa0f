#include "input/touch.h"

#include <linux/input.h>
#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>

#include "input/input_device.h"
#include "platform/log.h"
#include "text/scoped_lock.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

// What each touch mode does, one report after the other.
struct TouchMode {
  int mode;
  const char* reports;  // 'p' press, 'r' release
};

constexpr TouchMode kTouchModes[] = {{0, "r"}, {1, "p"}, {2, "pr"}, {3, "prpr"}, {4, "p"}, {5, "r"}};

// One touch is written as a whole before the next.
pthread_mutex_t g_touch_lock = PTHREAD_MUTEX_INITIALIZER;

// The device of the last touch stays open, as its user expects, until the next touch opens one. Under the lock.
int g_touch_device = -1;

}  // namespace

int ctsa_support_list(char* out) {
  TextWriter(out, 12).text("0 1 2 3 4 5");
  return 0;
}

int ctsa_send_event(char* mode_text, char* x_text, char* y_text, char*) {
  int mode = atoi(mode_text), x = atoi(x_text), y = atoi(y_text);
  ScopedLock lock(g_touch_lock);
  int number;
  int fd = open_input_device(EV_ABS, ABS_MT_POSITION_X, &number);
  if (fd < 0) return -1;
  SLOGI("We need this device to send event : event%d", number);
  for (const TouchMode& row : kTouchModes) {
    if (row.mode != mode) continue;
    int result = 0;
    for (const char* report = row.reports; *report; ++report) {
      // A failed press is still released.
      if (report_event(fd, *report == 'p', x, y) != 0) result = -1;
    }
    if (g_touch_device >= 0) close(g_touch_device);
    g_touch_device = fd;
    return result;
  }
  SLOGE("Not Supported");
  close(fd);
  return -1;
}

int report_event(int fd, int press, int x, int y) {
  if (press) {
    SLOGI("mode is push");
    send_event(fd, EV_ABS, ABS_MT_POSITION_X, x);
    send_event(fd, EV_ABS, ABS_MT_POSITION_Y, y);
    send_event(fd, EV_ABS, ABS_MT_TOUCH_MAJOR, 12);
    send_event(fd, EV_ABS, ABS_MT_PRESSURE, 68);
    send_event(fd, EV_ABS, ABS_MT_TRACKING_ID, 0);
  } else {
    SLOGI("mode is release");
    send_event(fd, EV_ABS, ABS_MT_TRACKING_ID, -1);
  }
  return send_event(fd, EV_SYN, SYN_REPORT, 0);
}

int send_event(int fd, unsigned short type, unsigned short code, int value) {
  if (write_input_event(fd, type, code, value)) return 0;
  SLOGE("Write Failed.");
  return -1;
}
