// Reading the current entry of an archive.
#pragma once

#include <stdint.h>
#include <unzip.h>
#include <zlib.h>

#include "logs/archive_file.h"

namespace atd {

// Results below 0 are errors of minizip or zlib. An object is used from open to close by one entry.
class EntryReader {
 public:
  explicit EntryReader(unzFile archive) : archive_(archive) {}
  EntryReader(const EntryReader&) = delete;
  EntryReader& operator=(const EntryReader&) = delete;

  // Opens the current entry, of which this is the description; the password (null: none) is for an encrypted one. 0, or
  // an error; then nothing is open.
  int open(const unz_file_info64& info, const char* password);

  // Reads up to kZipPieceSize bytes; their number, 0 at the end, or an error. An end before the entry's size is one.
  int read(char* piece);

  // Closes the entry; 0, or an error where all was read and is not what the archive says.
  int close();

 private:
  int read_inflated(char* piece);

  unzFile archive_;
  ZPOS64_T left_ = 0;
  // An entry whose size minizip does not know is inflated here.
  bool is_inflated_here_ = false;
  bool has_ended_ = false;
  z_stream stream_ = {};
  uLong crc_ = 0, expected_crc_ = 0;
  uint8_t deflated_[kZipPieceSize];
};

}  // namespace atd
