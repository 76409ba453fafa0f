#include "logs/archive_file.h"

#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/os.h"
#include "text/file.h"

namespace atd {

namespace {

// Below 4 GiB by more than deflate can add to what it cannot compress.
constexpr unsigned long long kLargeFile = 0xff000000;

voidpf open_stream(voidpf, const void* path, int mode) {
  return fopen(device_path(static_cast<const char*>(path)), mode & ZLIB_FILEFUNC_MODE_CREATE ? "wbe" : "rbe");
}

ZPOS64_T tell_stream(voidpf, voidpf stream) { return static_cast<ZPOS64_T>(ftello(static_cast<FILE*>(stream))); }

// minizip's numbers for where an offset counts from are those of the C library.
long seek_stream(voidpf, voidpf stream, ZPOS64_T offset, int origin) {
  return fseeko(static_cast<FILE*>(stream), static_cast<off_t>(offset), origin) == 0 ? 0 : -1;
}

// The functions of minizip, with descriptors that no program inherits, and offsets of 64 bits however it was built.
zlib_filefunc64_def file_functions() {
  static_assert(ZLIB_FILEFUNC_SEEK_SET == SEEK_SET && ZLIB_FILEFUNC_SEEK_CUR == SEEK_CUR &&
                ZLIB_FILEFUNC_SEEK_END == SEEK_END && sizeof(off_t) == 8);
  zlib_filefunc64_def functions;
  fill_fopen64_filefunc(&functions);
  functions.zopen64_file = open_stream;
  functions.ztell64_file = tell_stream;
  functions.zseek64_file = seek_stream;
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

ArchiveSource::ArchiveSource(const char* path) : fd_(open_file(path)) {
  struct stat status;
  if (fd_ < 0 || fstat(fd_, &status) != 0) return;
  left_ = static_cast<unsigned long long>(status.st_size);
  is_large_ = left_ >= kLargeFile;
  if (left_ == 0) left_ = kLargeFile - 1;
}

ArchiveSource::~ArchiveSource() {
  if (fd_ >= 0) close(fd_);
}

size_t ArchiveSource::next(void* piece) {
  const size_t wanted = static_cast<size_t>(std::min<unsigned long long>(left_, kZipPieceSize));
  const size_t length = read_up_to(fd_, piece, wanted);
  failed_ = failed_ || errno != 0;
  left_ = length == wanted ? left_ - length : 0;
  return length;
}

}  // namespace atd
