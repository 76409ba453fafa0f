#include "logs/line_copy.h"

#include <errno.h>
#include <string.h>

#include "text/file.h"

namespace atd {

namespace {

constexpr size_t kPiece = 255;
constexpr size_t kBlock = 64 * 1024;

}  // namespace

size_t LineFilter::filter(char* block, size_t size) {
  size_t kept = 0;
  for (size_t at = 0; at < size;) {
    const char* rest = block + at;
    if (loses_) {
      const size_t room = kPiece - column_ < size - at ? kPiece - column_ : size - at;
      const void* line_end = memchr(rest, '\n', room);
      const size_t lost = line_end ? static_cast<size_t>(static_cast<const char*>(line_end) - rest) + 1 : room;
      column_ = line_end ? 0 : (column_ + lost) % kPiece;
      loses_ = column_ != 0;
      at += lost;
      continue;
    }
    const void* nul = memchr(rest, '\0', size - at);
    const size_t length = nul ? static_cast<size_t>(static_cast<const char*>(nul) - rest) : size - at;
    const void* line_end = memrchr(rest, '\n', length);
    const size_t after_line =
        line_end ? static_cast<size_t>(rest + length - static_cast<const char*>(line_end)) - 1 : 0;
    column_ = (line_end ? after_line : column_ + length) % kPiece;
    loses_ = nul != nullptr;
    if (kept != at) memmove(block + kept, rest, length);
    kept += length;
    at += length;
  }
  return kept;
}

int copy_lines(int source, int destination) {
  LineFilter lines;
  char block[kBlock];
  while (const size_t got = read_up_to(source, block, sizeof block)) {
    const int error = errno;
    if (!write_all(destination, block, lines.filter(block, got))) return -1;
    if (error != 0) return errno = error, -1;
  }
  return errno == 0 ? 0 : -1;
}

}  // namespace atd
