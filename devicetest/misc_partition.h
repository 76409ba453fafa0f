// Bytes in a partition that other programs use as well.
#pragma once

namespace atd {

inline constexpr char kMiscPartition[] = "/dev/block/bootdevice/by-name/misc";

}  // namespace atd

#pragma GCC visibility push(default)

// Writes bytes at an offset, in bytes, of the block device at an absolute device path, and returns 0 when they are on
// the medium. Nothing else of the device changes, and it never grows. A negative error number on failure: -ENOSPC for
// bytes that reach behind its end.
int device_write(const char* path, long long offset, unsigned length, const void* buffer);

#pragma GCC visibility pop
