// Zip archives as files of the phone, and what is the same for each entry that is written.
#pragma once

#include <stddef.h>
#include <unzip.h>
#include <zip.h>
#include <zlib.h>

namespace atd {

inline constexpr int kZipLevel = Z_BEST_SPEED;
inline constexpr int kZipMemoryLevel = 8;

// What is read, deflated or unpacked at a time, in bytes.
inline constexpr size_t kZipPieceSize = 16384;

// Creates an archive at a device path; null with errno when that fails.
zipFile create_archive(const char* path);

// Opens an archive at a device path for reading; null, with errno where the file cannot be opened.
unzFile open_archive(const char* path);

// A file that goes into an archive.
class ArchiveSource {
 public:
  // Opens a file at a device path. What it grows by from then on is not read, but for a file of size 0: nodes have that
  // size.
  explicit ArchiveSource(const char* path);
  ~ArchiveSource();
  ArchiveSource(const ArchiveSource&) = delete;
  ArchiveSource& operator=(const ArchiveSource&) = delete;

  bool is_open() const { return fd_ >= 0; }

  // Whether the entry may need sizes of more than 32 bits.
  bool is_large() const { return is_large_; }

  // Reads the next bytes, kZipPieceSize of them except at the end; their number, 0 at the end.
  size_t next(void* piece);

  // Whether the end came from a failure.
  bool failed() const { return failed_; }

 private:
  int fd_;
  unsigned long long left_ = 0;
  bool is_large_ = false;
  bool failed_ = false;
};

}  // namespace atd
