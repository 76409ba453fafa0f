// What a file holds, and how it is written in a phone's file: a text as "text", bytes as { hex = "00ff" }, a run of
// zeros as { zeros = 32 }, several of these as an array.
#pragma once

#include <stdint.h>

#include <string>

namespace atd::sim {

// The limits of a content that has a value.
inline constexpr int64_t kSizeMax = int64_t{1} << 36;
inline constexpr int64_t kBytesMax = int64_t{64} * 1024 * 1024;  // before its last run of zeros

struct Content {
  std::string bytes;  // without the zeros at the end
  int64_t size = 0;   // with them

  // Puts bytes at a place that is not before the last ones, with zeros in between; false with errno beyond the limit.
  bool put(int64_t at, std::string bytes);

  // The whole of a small one.
  std::string whole() const;

  bool operator==(const Content&) const = default;
};

// The content of bytes, zeros at the end and all.
Content content_of(std::string bytes);

// Reads a file that is no link, without its holes; false with errno, which is EFBIG beyond the limits.
bool read_content(const std::string& path, Content* content);

// Makes a file with this content; false with errno, and EEXIST where something is in its place.
bool write_content(const std::string& path, const Content& content);

// How many bytes stand outside of runs of zeros.
size_t packed_size(const Content& content);

// The value in TOML; one that is `raw` is bytes even where it could be read as a text.
std::string to_toml(const Content& content, bool raw = false);

// A text in TOML, in quotes, on one line or on several.
std::string quoted(const std::string& text);

// A key in TOML, in quotes where it has to be.
std::string quoted_key(const std::string& key);

}  // namespace atd::sim
