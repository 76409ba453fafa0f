#include "logs/archive_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/os.h"

namespace atd {

namespace {

// Below 4 GiB by more than deflate can add to what it cannot compress.
constexpr unsigned long long kLargeFile = 0xff000000;

voidpf open_file(voidpf, const void* path, int mode) {
  return fopen(device_path(static_cast<const char*>(path)), mode & ZLIB_FILEFUNC_MODE_CREATE ? "wbe" : "rbe");
}

// The functions of minizip for files of any size, with descriptors that no program inherits.
zlib_filefunc64_def file_functions() {
  zlib_filefunc64_def functions;
  fill_fopen64_filefunc(&functions);
  functions.zopen64_file = open_file;
  return functions;
}

}  // namespace

zipFile create_archive(const char* path) {
  zlib_filefunc64_def functions = file_functions();
  return zipOpen2_64(path, APPEND_STATUS_CREATE, nullptr, &functions);
}

unzFile open_archive(const char* path) {
  zlib_filefunc64_def functions = file_functions();
  return unzOpen2_64(path, &functions);
}

// Without O_NONBLOCK a pipe without a writer would hold up the archive for ever.
ArchiveSource::ArchiveSource(const char* path) : fd_(open(device_path(path), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
  struct stat status;
  if (fd_ < 0) return;
  if (fstat(fd_, &status) == 0 && S_ISREG(status.st_mode)) {
    left_ = static_cast<unsigned long long>(status.st_size);
    is_large_ = left_ >= kLargeFile;
  } else {
    close(fd_);
    fd_ = -1;
  }
}

ArchiveSource::~ArchiveSource() {
  if (fd_ >= 0) close(fd_);
}

size_t ArchiveSource::next(void* piece) {
  const size_t wanted = static_cast<size_t>(std::min<unsigned long long>(left_, kZipPieceSize));
  size_t length = 0;
  while (length < wanted) {
    const ssize_t got = read(fd_, static_cast<char*>(piece) + length, wanted - length);
    if (got < 0 && errno == EINTR) continue;
    failed_ = got < 0;
    if (got <= 0) break;
    length += static_cast<size_t>(got);
  }
  left_ = length == wanted ? left_ - length : 0;
  return length;
}

}  // namespace atd
