#include "text/file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

#include "platform/os.h"

namespace atd {

namespace {

std::atomic<uint64_t> g_files{0}, g_bytes{0};

}  // namespace

ReadSoFar read_so_far() { return {g_files, g_bytes}; }

void count_file() { g_files.fetch_add(1, std::memory_order_relaxed); }

int open_file(const char* path) {
  const int fd = open(device_path(path), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  struct stat status;
  if (fd < 0) return fd;
  if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) {
    count_file();
    return fd;
  }
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

int open_new(const char* path, int access) {
  unlink(device_entry(path));
  return open(device_path(path), access | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644);
}

bool is_link(const char* path) {
  struct stat status;
  return lstat(device_entry(path), &status) == 0 && S_ISLNK(status.st_mode);
}

size_t read_up_to(int fd, void* out, size_t size) {
  size_t done = 0;
  errno = 0;
  while (done < size) {
    const ssize_t got = read(fd, static_cast<char*>(out) + done, size - done);
    if (got < 0 && errno == EINTR) continue;
    if (got == 0) errno = 0;
    if (got <= 0) return done;
    done += static_cast<size_t>(got);
    g_bytes.fetch_add(static_cast<uint64_t>(got), std::memory_order_relaxed);
  }
  errno = 0;
  return done;
}

bool write_all(int fd, const void* bytes, size_t size) {
  for (const char* at = static_cast<const char*>(bytes); size > 0;) {
    const ssize_t written = write(fd, at, size);
    if (written < 0 && errno == EINTR) continue;
    if (written == 0) errno = ENOSPC;
    if (written <= 0) return false;
    at += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

}  // namespace atd
