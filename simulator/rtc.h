// The phone's real-time clock, the file "/dev/rtc0", which shows the phone's time.
#pragma once

#include <string>

#include "simulator/clock.h"

namespace atd::sim {

class Rtc {
 public:
  // The clock stays the caller's and outlives this one.
  Rtc(const std::string& root, Clock& clock) : root_(root), clock_(clock) {}

  // Answers a device-control request: false when the descriptor is not the clock's, else *result is what the driver
  // returns, with errno when that is -1.
  bool ioctl(int fd, unsigned long request, void* argument, int* result);

 private:
  std::string root_;
  Clock& clock_;
};

}  // namespace atd::sim
