// Writing text into a buffer of fixed size.
#pragma once

#include <stdarg.h>
#include <stddef.h>

namespace atd {

// Appends to a buffer that it does not own. The text is terminated at every moment; what does not fit is left out.
class TextWriter {
 public:
  // Begins with the empty text in `out`, which holds `capacity` bytes, at least 1.
  TextWriter(char* out, size_t capacity);

  template <size_t capacity>
  explicit TextWriter(char (&out)[capacity]) : TextWriter(out, capacity) {}

  TextWriter& put(char c);
  TextWriter& text(const char* text);

  // Appends `length` bytes as they are.
  TextWriter& bytes(const void* bytes, size_t length);

  // Appends bytes as pairs of upper-case hex digits.
  TextWriter& hex(const void* bytes, size_t length);

  TextWriter& format(const char* format, ...) __attribute__((format(printf, 2, 3)));

  // The number of bytes written, without the terminator.
  size_t length() const { return length_; }

  // True when something was left out.
  bool cut() const { return cut_; }

 private:
  char* out_;
  size_t capacity_;
  size_t length_ = 0;
  bool cut_ = false;
};

}  // namespace atd
