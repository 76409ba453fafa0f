#include "text/node.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "platform/os.h"

namespace atd {

namespace {

int open_node(const char* path, int flags) { return open(device_path(path), flags | O_CLOEXEC); }

// Closes a node and keeps the errno of the read or write before. Returns 0 when that was `done`, else -1.
int close_node(int fd, bool done) {
  const int error = errno;
  close(fd);
  errno = error;
  return done ? 0 : -1;
}

}  // namespace

int read_node(const char* path, char* text, size_t size) {
  text[0] = '\0';
  const int fd = open_node(path, O_RDONLY);
  if (fd < 0) return -1;
  ssize_t length;
  do {
    length = read(fd, text, size - 1);
  } while (length < 0 && errno == EINTR);
  if (close_node(fd, length >= 0) != 0) return -1;
  while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) --length;
  text[length] = '\0';
  return static_cast<int>(length);
}

int read_node_number(const char* path, int* number) {
  char text[32];
  if (read_node(path, text, sizeof text) < 0) return -1;
  char* end;
  errno = 0;
  const long long value = strtoll(text, &end, 10);
  if (end == text || errno != 0 || value < INT_MIN || value > INT_MAX) return -1;
  *number = static_cast<int>(value);
  return 0;
}

int write_node(const char* path, const char* text) {
  const int fd = open_node(path, O_WRONLY);
  if (fd < 0) return -1;
  const size_t length = strlen(text);
  ssize_t written;
  do {
    written = write(fd, text, length);
  } while (written < 0 && errno == EINTR);
  if (written >= 0 && static_cast<size_t>(written) != length) errno = EIO;
  return close_node(fd, written >= 0 && static_cast<size_t>(written) == length);
}

}  // namespace atd
