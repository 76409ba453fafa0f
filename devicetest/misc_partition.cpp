#include "devicetest/misc_partition.h"

#include <errno.h>
#include <fcntl.h>
#include <stddef.h>
#include <stdint.h>
#include <unistd.h>

#include "platform/os.h"

namespace {

// Writes all bytes within the device's end and syncs them; 0 or an error number.
int write_synced(int fd, int64_t offset, size_t length, const void* buffer) {
  const int64_t end = lseek(fd, 0, SEEK_END);
  if (end < 0) return errno;
  if (offset < 0) return EINVAL;
  if (offset > end || length > static_cast<uint64_t>(end - offset)) return ENOSPC;
  const char* bytes = static_cast<const char*>(buffer);
  while (length > 0) {
    const ssize_t written = pwrite(fd, bytes, length, offset);
    if (written == 0) return EIO;
    if (written < 0 && errno != EINTR) return errno;
    if (written < 0) continue;
    bytes += written;
    offset += written;
    length -= static_cast<size_t>(written);
  }
  return fsync(fd) == 0 ? 0 : errno;
}

}  // namespace

int device_write(const char* path, long long offset, unsigned length, const void* buffer) {
  const int fd = open(atd::device_path(path), O_WRONLY | O_CLOEXEC);
  if (fd < 0) return -errno;
  const int error = write_synced(fd, offset, length, buffer);
  close(fd);
  return -error;
}
