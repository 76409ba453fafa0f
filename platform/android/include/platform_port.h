// What differs between the phone and the desktop in the types of platform/os.h: here, the phone.
#pragma once

namespace atd {

// The type of an ioctl request number.
using ioctl_request_t = int;

// The modem's opcode for the number of SIMs; -1 where it is not known, which answers "not supported".
inline constexpr int kSimCountOpcode = -1;

// A device path is the path itself.
constexpr const char* device_path(const char* path) { return path; }
constexpr const char* device_entry(const char* path) { return path; }

}  // namespace atd
