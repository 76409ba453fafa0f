#include "logs/entry_reader.h"

#include <algorithm>

namespace atd {

namespace {

constexpr ZPOS64_T kSizeStandsElsewhere = 0xffffffff;
constexpr unsigned kZip64Field = 1;

unsigned number16(const uint8_t* bytes) { return bytes[0] | static_cast<unsigned>(bytes[1]) << 8; }

// The size of the current entry. minizip reads one of 4 GiB and more only where a long has 32 bits.
ZPOS64_T entry_size(unzFile archive, const unz_file_info64& info) {
  if (info.uncompressed_size != kSizeStandsElsewhere) return info.uncompressed_size;
  uint8_t extra[1024];
  unz_file_info64 ignored;
  if (unzGetCurrentFileInfo64(archive, &ignored, nullptr, 0, extra, sizeof extra, nullptr, 0) != UNZ_OK) {
    return info.uncompressed_size;
  }
  const size_t end = std::min<size_t>(info.size_file_extra, sizeof extra);
  for (size_t at = 0; at + 12 <= end; at += 4 + number16(extra + at + 2)) {
    if (number16(extra + at) != kZip64Field || number16(extra + at + 2) < 8) continue;
    ZPOS64_T size = 0;
    for (int byte = 7; byte >= 0; --byte) size = size << 8 | extra[at + 4 + static_cast<size_t>(byte)];
    return size;
  }
  return info.uncompressed_size;
}

}  // namespace

int EntryReader::open(const unz_file_info64& info, const char* password) {
  const bool is_encrypted = info.flag & 1;
  if (is_encrypted && !password) return UNZ_PARAMERROR;
  left_ = entry_size(archive_, info);
  is_inflated_here_ = left_ != info.uncompressed_size;
  if (!is_inflated_here_) return unzOpenCurrentFilePassword(archive_, is_encrypted ? password : nullptr);
  if (is_encrypted || info.compression_method != Z_DEFLATED) return UNZ_BADZIPFILE;
  int method, level;
  int error = unzOpenCurrentFile2(archive_, &method, &level, 1);
  if (error != UNZ_OK) return error;
  expected_crc_ = info.crc;
  error = inflateInit2(&stream_, -MAX_WBITS);
  if (error != Z_OK) unzCloseCurrentFile(archive_);
  return error;
}

int EntryReader::read(char* piece) {
  const int length = is_inflated_here_ ? read_inflated(piece) : unzReadCurrentFile(archive_, piece, kZipPieceSize);
  if (length < 0) return length;
  // minizip takes deflated bytes that end early for the whole entry.
  if (static_cast<ZPOS64_T>(length) > left_ || (length == 0 && left_ > 0)) return UNZ_BADZIPFILE;
  left_ -= static_cast<ZPOS64_T>(length);
  return length;
}

int EntryReader::read_inflated(char* piece) {
  stream_.next_out = reinterpret_cast<Bytef*>(piece);
  stream_.avail_out = kZipPieceSize;
  while (stream_.avail_out > 0 && !has_ended_) {
    if (stream_.avail_in == 0) {
      const int length = unzReadCurrentFile(archive_, deflated_, sizeof deflated_);
      if (length < 0) return length;
      stream_.next_in = deflated_;
      stream_.avail_in = static_cast<uInt>(length);
    }
    const int result = inflate(&stream_, Z_NO_FLUSH);
    if (result == Z_NEED_DICT) return Z_DATA_ERROR;
    if (result < 0) return result;
    has_ended_ = result == Z_STREAM_END;
  }
  const uInt length = static_cast<uInt>(kZipPieceSize) - stream_.avail_out;
  crc_ = crc32(crc_, reinterpret_cast<Bytef*>(piece), length);
  return static_cast<int>(length);
}

int EntryReader::close() {
  if (is_inflated_here_) inflateEnd(&stream_);
  const int error = unzCloseCurrentFile(archive_);
  if (error == UNZ_OK && is_inflated_here_ && left_ == 0 && crc_ != expected_crc_) return UNZ_CRCERROR;
  return error;
}

}  // namespace atd
