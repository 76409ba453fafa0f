// What differs between the phone and the desktop in the types of platform/os.h: here, the desktop.
#pragma once

#include <limits.h>

namespace atd {

// The type of an ioctl request number.
using ioctl_request_t = unsigned long;

// The modem's opcode for the number of SIMs.
inline constexpr int kSimCountOpcode = 10;

// A path below the simulated phone's root. It lasts as long as the full expression that made it.
struct DevicePath {
  char text[PATH_MAX];
  operator const char*() const { return text; }
};

// The place of an absolute device path in the simulated phone, and of a relative one where the working folder is in the
// phone; another relative path and "" stay as they are. Links are followed as on the phone, so neither they nor ".."
// ever leave it; a link that somebody changes between this call and the use of the path is followed by the desktop. A
// path that does not fit PATH_MAX, and one that leads to a FIFO, a device node or round in circles (an error in the
// main log), becomes "", which every system call refuses.
DevicePath device_path(const char* path);

// The same for what is done to a link itself, where the path names one: unlink, lstat, readlink, rename.
DevicePath device_entry(const char* path);

}  // namespace atd
