#include "system/board.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/rtc.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/node_access.h"
#include "platform/os.h"
#include "system/reading.h"
#include "text/number.h"
#include "text/text_writer.h"

using namespace atd;

int get_rtc_time(char* out) {
  out[0] = '\0';
  const int fd = open(device_path("/dev/rtc0"), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    SLOGE("Unable to open RTC device : %s\n", strerror(errno));
    return 1;
  }
  struct rtc_time read = {};
  const bool failed = os_ioctl(fd, RTC_RD_TIME, &read) < 0;
  const int error = errno;
  close(fd);
  if (failed) {
    SLOGE("RTC device ioctl RTC_RD_TIME error : %s\n", strerror(error));
    return 1;
  }
  struct tm time = {};
  time.tm_year = read.tm_year;
  time.tm_mon = read.tm_mon;
  time.tm_mday = read.tm_mday;
  time.tm_hour = read.tm_hour;
  time.tm_min = read.tm_min;
  time.tm_sec = read.tm_sec;
  // What does not fit leaves the buffer undefined.
  if (strftime(out, 30, "%Y%m%d%H%M%S", &time) == 0) out[0] = '\0';
  SLOGI("RTC read : %s\n", out);
  return 0;
}

int get_backcover_color(char* out) {
  TextWriter writer(out, 12);
  char text[10 + 1];
  if (read_or_complain("/sys/class/switch/backcover/state", "BACKCOVER: fail to fopen rt:", text, sizeof text) != 0) {
    return 1;
  }
  const int color = leading_number(text);
  SLOGI("BACKCOVER: backcover status:%d", color);
  writer.format("%d", color);
  return 0;
}

int get_pm_reset(char* out) {
  // One byte less, for a line end of our own.
  if (read_text("/sys/bus/i2c/devices/1-002d/at_pmrst", "get_pm_reset", out, 127) != 0) return 1;
  const size_t length = strlen(out);
  if (length == 0 || out[length - 1] != '\n') memcpy(out + length, "\n", 2);
  return 0;
}
