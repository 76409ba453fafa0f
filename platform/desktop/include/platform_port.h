// What differs between the phone and the desktop in the types of platform/os.h: here, the desktop.
#pragma once

#include <limits.h>

namespace atd {

// The type of an ioctl request number.
using ioctl_request_t = unsigned long;

// A path below the simulated phone's root. It lasts as long as the full expression that made it.
struct DevicePath {
  char text[PATH_MAX];
  operator const char*() const { return text; }
};

// The place of an absolute device path in the simulated phone; a relative path and "" stay as they are, ".." never
// leaves the phone, and a path that does not fit PATH_MAX becomes "" (which every system call refuses).
DevicePath device_path(const char* path);

}  // namespace atd
