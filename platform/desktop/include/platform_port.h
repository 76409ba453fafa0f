// What differs between the phone and the desktop in the types of platform/os.h: here, the desktop.
#pragma once

#include <limits.h>

namespace atd {

// The type of an ioctl request number.
using ioctl_request_t = unsigned long;

// A path below the simulated phone's root. It lasts as long as the full expression that made it.
class DevicePath {
 public:
  explicit DevicePath(const char* path);
  operator const char*() const { return text_; }

 private:
  char text_[PATH_MAX];
};

// The place of an absolute device path in the simulated phone; a relative path and "" stay as they are, ".." never
// leaves the phone, and a path that does not fit PATH_MAX becomes "" (which every system call refuses).
inline DevicePath device_path(const char* path) { return DevicePath(path); }

}  // namespace atd
