#include "simulator/partitions.h"

#include <errno.h>
#include <limits.h>
#include <linux/fs.h>
#include <stdint.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "simulator/factory_wipe.h"
#include "simulator/files.h"

namespace atd::sim {

namespace {

// The file that a descriptor has open, "" when there is none.
std::string file_of(int fd) {
  char target[PATH_MAX];
  const ssize_t length = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), target, sizeof target);
  return std::string(target, length < 0 ? 0 : static_cast<size_t>(length));
}

}  // namespace

bool Partitions::discard(int fd, unsigned long long start, unsigned long long length) const {
  const std::string file = file_of(fd);
  struct stat found;
  if (fstat(fd, &found) != 0) return false;
  if (!S_ISREG(found.st_mode) || !file.starts_with(root_ + "/")) return errno = EPERM, false;
  const unsigned long long size = static_cast<unsigned long long>(found.st_size);
  if (start > size || length > size - start) return errno = EINVAL, false;
  constexpr size_t kBlock = 65536;
  const std::string zeros(kBlock, '\0');
  for (unsigned long long done = 0; done < length;) {
    const size_t block = static_cast<size_t>(std::min<unsigned long long>(kBlock, length - done));
    const ssize_t put = pwrite(fd, zeros.data(), block, static_cast<off_t>(start + done));
    if (put < 0) return false;
    done += static_cast<unsigned long long>(put);
  }
  const bool is_cache = length == size && file == resolve(root_, "/dev/block/bootdevice/by-name/cache");
  if (is_cache && !wipe_cache(root_)) return errno = EIO, false;
  return true;
}

bool Partitions::ioctl(int fd, unsigned long request, void* argument, int* result) {
  if (request != BLKDISCARD) return false;
  const uint64_t* range = static_cast<const uint64_t*>(argument);
  *result = -1;
  if (interrupts_ > 0) {
    --interrupts_;
    errno = EINTR;
  } else if (discard(fd, range[0], range[1])) {
    *result = 0;
  }
  return true;
}

}  // namespace atd::sim
