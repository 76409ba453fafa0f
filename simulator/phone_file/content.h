// What a file holds, and how it is written in a phone's file: a text as "text", bytes as { hex = "00ff" }, a run of
// zeros as { zeros = 32 }, several of these as an array.
#pragma once

#include <stdint.h>

#include <string>

namespace atd::sim {

struct Content {
  std::string bytes;  // without the zeros at the end
  int64_t size = 0;   // with them

  // The whole of a small one.
  std::string whole() const;

  bool operator==(const Content&) const = default;
};

// The content of bytes, zeros at the end and all.
Content content_of(std::string bytes);

// Reads a file that is no link, without its holes; false with errno.
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
