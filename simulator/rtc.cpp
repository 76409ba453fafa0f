#include "simulator/rtc.h"

#include <errno.h>
#include <linux/rtc.h>
#include <sys/stat.h>
#include <time.h>

#include "simulator/files.h"

namespace atd::sim {

bool Rtc::ioctl(int fd, unsigned long request, void* argument, int* result) {
  struct stat asked, file;
  if (fstat(fd, &asked) != 0 || stat(resolve(root_, "/dev/rtc0").c_str(), &file) != 0) return false;
  if (asked.st_dev != file.st_dev || asked.st_ino != file.st_ino) return false;
  *result = -1;
  struct timespec now;
  struct tm utc;
  if (request != RTC_RD_TIME) {
    errno = ENOTTY;
  } else if (clock_.get(CLOCK_REALTIME, &now) == 0 && gmtime_r(&now.tv_sec, &utc)) {
    *static_cast<struct rtc_time*>(argument) = {.tm_sec = utc.tm_sec,
                                                .tm_min = utc.tm_min,
                                                .tm_hour = utc.tm_hour,
                                                .tm_mday = utc.tm_mday,
                                                .tm_mon = utc.tm_mon,
                                                .tm_year = utc.tm_year,
                                                .tm_wday = utc.tm_wday,
                                                .tm_yday = utc.tm_yday,
                                                .tm_isdst = 0};
    *result = 0;
  }
  return true;
}

}  // namespace atd::sim
