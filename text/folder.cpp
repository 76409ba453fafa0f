#include "text/folder.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "platform/os.h"

namespace atd {

Folder::Folder(const char* path) : stream_(opendir(device_path(path))) {}

Folder::Folder(int parent, const char* name) : stream_(nullptr) {
  const int fd = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return;
  stream_ = fdopendir(fd);
  if (stream_) return;
  const int error = errno;
  close(fd);
  errno = error;
}

Folder::~Folder() {
  if (stream_) closedir(stream_);
}

const struct dirent* Folder::next() {
  if (!stream_) return nullptr;
  const struct dirent* entry;
  do {
    entry = readdir(stream_);
  } while (entry && (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0));
  return entry;
}

}  // namespace atd
