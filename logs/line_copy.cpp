#include "logs/line_copy.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

namespace atd {

namespace {

constexpr size_t kPiece = 255;
constexpr size_t kBlock = 64 * 1024;

bool write_all(int fd, const char* bytes, size_t size) {
  while (size > 0) {
    const ssize_t written = write(fd, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

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
  while (true) {
    const ssize_t got = read(source, block, sizeof block);
    if (got == 0) return 0;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 || !write_all(destination, block, lines.filter(block, static_cast<size_t>(got)))) return -1;
  }
}

}  // namespace atd
