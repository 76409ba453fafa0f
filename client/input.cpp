#include "client/input.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

namespace atd::client {

void InputLines::fill() {
  pollfd readable = {fd_, POLLIN, 0};
  poll(&readable, 1, -1);  // read() alone would not wait where whoever started the client made the input non-blocking
  char bytes[16384];
  ssize_t size = read(fd_, bytes, sizeof bytes);
  pending_.erase(0, begin_);
  begin_ = 0;
  if (size > 0) {
    pending_.append(bytes, size);
  } else if (size == 0 || (errno != EINTR && errno != EAGAIN)) {
    error_ = size == 0 ? 0 : errno;
    ended_ = true;
  }
}

bool InputLines::take(std::string* line) {
  while (!is_ready()) fill();
  if (begin_ >= pending_.size()) return false;
  size_t end = std::min(pending_.find('\n', begin_), pending_.size());
  *line = pending_.substr(begin_, end - begin_);
  begin_ = end + 1;
  return true;
}

Failure read_lines(const std::string& file, const std::function<std::string(int number, const std::string& line)>& take) {
  const bool is_input = file == "-";
  const int fd = is_input ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {kUsage, file + ": " + strerror(errno)};
  Failure failure;
  InputLines lines(fd);
  std::string line;
  for (int number = 1; !failure && lines.take(&line); ++number) {
    const std::string wrong = take(number, line);
    if (!wrong.empty()) failure = {kUsage, file + ":" + std::to_string(number) + ": " + wrong};
  }
  if (!failure && lines.error() != 0) failure = {kUsage, file + ": " + strerror(lines.error())};
  if (!is_input) close(fd);
  return failure;
}

}  // namespace atd::client
