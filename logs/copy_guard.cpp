#include "logs/copy_guard.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include "platform/os.h"

namespace atd {

CopyLevel::CopyLevel(const CopyLevel* outer, const char* source, const char* destination)
    : outer_(outer), source_(id_of(source)), destination_(id_of(destination)) {}

CopyLevel::Id CopyLevel::id_of(const char* path) {
  struct stat status;
  if (stat(device_path(path), &status) != 0) return {};
  return {true, status.st_dev, status.st_ino};
}

bool CopyLevel::goes_round() const {
  if (source_ == destination_) return true;
  for (const CopyLevel* level = outer_; level; level = level->outer_) {
    if (source_ == level->source_ || source_ == level->destination_) return true;
  }
  return false;
}

int open_file(const char* path) {
  const int fd = open(device_path(path), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  struct stat status;
  if (fd < 0 || (fstat(fd, &status) == 0 && S_ISREG(status.st_mode))) return fd;
  close(fd);
  errno = EINVAL;
  return -1;
}

int open_target(const char* path, int flags, mode_t mode) {
  struct stat status;
  if (lstat(device_entry(path), &status) == 0 && !S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return -1;
  }
  return open(device_path(path), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | flags, mode);
}

bool is_link(const char* path) {
  struct stat status;
  return lstat(device_entry(path), &status) == 0 && S_ISLNK(status.st_mode);
}

}  // namespace atd
