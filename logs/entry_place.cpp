#include "logs/entry_place.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace atd {

namespace {

constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// Opens a folder in a folder, which it closes.
int enter(int folder, const char* name, size_t length) {
  char part[NAME_MAX + 1];
  int next = -1;
  if (length >= sizeof part) {
    errno = ENAMETOOLONG;
  } else {
    memcpy(part, name, length);
    part[length] = '\0';
    next = openat(folder, length == 0 ? "." : part, kFolderFlags);
  }
  const int error = errno;
  close(folder);
  errno = error;
  return next;
}

}  // namespace

EntryPlace::EntryPlace(const char* path) : folder_(-1), name_(path) {
  errno = ENOENT;
  if (leads_out(path)) return;
  folder_ = open(".", kFolderFlags);
  for (const char* end; folder_ >= 0 && (end = strchr(name_, '/')) != nullptr; name_ = end + 1) {
    folder_ = enter(folder_, name_, static_cast<size_t>(end - name_));
  }
  // "a/" is the folder itself.
  if (*name_ == '\0' && name_ != path) name_ = ".";
}

EntryPlace::~EntryPlace() {
  if (folder_ < 0) return;
  const int error = errno;
  close(folder_);
  errno = error;
}

bool EntryPlace::has_file() const {
  struct stat status;
  return is_open() && fstatat(folder_, name_, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode);
}

int EntryPlace::create_file() const {
  if (!is_open()) return -1;
  // A pipe without a reader, or a device, must neither hold the caller up nor be emptied.
  const int fd = openat(folder_, name_, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
  if (fd < 0) return -1;
  struct stat status;
  if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && ftruncate(fd, 0) == 0) return fd;
  close(fd);
  errno = EACCES;
  return -1;
}

bool EntryPlace::make_folder(int mode) const {
  return is_open() && mkdirat(folder_, name_, static_cast<mode_t>(mode)) == 0;
}

bool leads_out(const char* path) {
  constexpr char kSeparators[] = "/\\";
  if (path[0] != '\0' && strchr(kSeparators, path[0])) return true;
  for (;;) {
    const size_t length = strcspn(path, kSeparators);
    if (length == 2 && strncmp(path, "..", 2) == 0) return true;
    if (path[length] == '\0') return false;
    path += length + 1;
  }
}

}  // namespace atd
