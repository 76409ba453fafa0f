#include "system/sysfs.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/os.h"
#include "text/file.h"

using namespace atd;

namespace {

constexpr int kNodeMax = 4096;
constexpr int kOverwrite = O_WRONLY | O_TRUNC | O_CLOEXEC;

int open_for_reading(const char* path) {
  const int fd = open(device_path(path), O_RDONLY | O_CLOEXEC);
  if (fd < 0) SLOGE("%s: Open Error(%s): %s", "read_sysfs", strerror(errno), path);
  return fd;
}

// Writes all bytes, logs what prevents it, and returns 0 or -1. A node takes a text in one write.
int write_bytes(int fd, const char* path, const void* buffer, int n) {
  if (n <= 0 || write_all(fd, buffer, static_cast<size_t>(n))) return 0;
  SLOGE("write_sysfs: Write Error(%s): %s", strerror(errno), path);
  return -1;
}

// Gives an open file the owner, the group and the mode of a directory.
void take_after(int fd, const char* directory) {
  struct stat model;
  const bool known = stat(device_path(directory), &model) == 0;
  if (known && fchown(fd, model.st_uid, model.st_gid) == 0) SLOGI("ERI chown success\n");
  else SLOGE("ERI chwon failed\n");
  if (known && fchmod(fd, model.st_mode & 07777) == 0) SLOGI("ERI chmod success\n");
  else SLOGE("ERI chmod failed\n");
}

}  // namespace

int check_sysfs(const char* path) {
  const int fd = open(device_path(path), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return -1;
  close(fd);
  return 0;
}

int read_sysfs(const char* path, void* buffer, int n) {
  if (n > 0) memset(buffer, 0, static_cast<size_t>(n));
  const int fd = open_for_reading(path);
  if (fd < 0) return -1;
  if (n > 0) read_up_to(fd, buffer, static_cast<size_t>(n));
  close(fd);
  return n;
}

int read_sysfs(const char* path, void* buffer) {
  char* text = static_cast<char*>(buffer);
  text[0] = '\0';
  const int fd = open_for_reading(path);
  if (fd < 0) return -1;
  const int length = static_cast<int>(read_up_to(fd, text, kNodeMax));
  close(fd);
  text[length] = '\0';
  return length;
}

int write_sysfs(const char* path, const void* buffer, int n) {
  const int fd = open(device_path(path), kOverwrite);
  if (fd < 0) {
    SLOGE("%s: Open Error(%s): %s", "write_sysfs", strerror(errno), path);
    return -1;
  }
  const int result = write_bytes(fd, path, buffer, n);
  close(fd);
  return result;
}

int write_eri_sysfs(const char* path, const char* directory, const void* buffer, int n) {
  int fd = open(device_path(path), kOverwrite | O_CREAT, 0644);
  if (fd < 0) {
    mkdir(device_path(directory), 0755);
    fd = open(device_path(path), kOverwrite | O_CREAT, 0644);
  }
  if (fd < 0) {
    SLOGE("%s: Open Error(%s): %s", "write_sysfs", strerror(errno), path);
    return -1;
  }
  const int result = write_bytes(fd, path, buffer, n);
  if (result == 0) take_after(fd, directory);
  close(fd);
  return result;
}
