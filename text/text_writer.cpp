#include "text/text_writer.h"

#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>

#include "text/hex.h"

namespace atd {

TextWriter::TextWriter(char* out, size_t capacity) : out_(out), capacity_(capacity) { out_[0] = '\0'; }

TextWriter& TextWriter::put(char c) { return bytes(&c, 1); }

TextWriter& TextWriter::text(const char* text) { return bytes(text, strlen(text)); }

TextWriter& TextWriter::bytes(const void* bytes, size_t length) {
  const size_t room = capacity_ - 1 - length_;
  cut_ |= length > room;
  length = std::min(length, room);
  memcpy(out_ + length_, bytes, length);
  length_ += length;
  out_[length_] = '\0';
  return *this;
}

TextWriter& TextWriter::hex(const void* bytes, size_t length) {
  const uint8_t* in = static_cast<const uint8_t*>(bytes);
  for (size_t i = 0; i < length; ++i) put(kHexDigits[in[i] >> 4]).put(kHexDigits[in[i] & 15]);
  return *this;
}

TextWriter& TextWriter::format(const char* format, ...) {
  const size_t room = capacity_ - length_;
  va_list arguments;
  va_start(arguments, format);
  const int wanted = vsnprintf(out_ + length_, room, format, arguments);
  va_end(arguments);
  const size_t length = wanted > 0 ? static_cast<size_t>(wanted) : 0;
  cut_ |= length >= room;
  length_ += std::min(length, room - 1);
  return *this;
}

}  // namespace atd
