#include "client/input.h"

#include <errno.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>

namespace atd::client {
namespace {

constexpr size_t kReadSize = 16384;

// Waits for bytes and reads them; read() alone would not wait where the parent process made the input non-blocking.
ssize_t read_some(int fd, char* bytes) {
  pollfd readable = {fd, POLLIN, 0};
  poll(&readable, 1, -1);
  return read(fd, bytes, kReadSize);
}

bool may_try_again(int error) { return error == EINTR || error == EAGAIN; }

}  // namespace

InputFile::InputFile(const std::string& file)
    : fd_(file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (fd_ < 0) failure_ = file_failure(file, errno);
}

InputFile::~InputFile() {
  if (fd_ > STDIN_FILENO) close(fd_);
}

void InputLines::fill() {
  char bytes[kReadSize];
  ssize_t size = read_some(fd_, bytes);
  pending_.erase(0, begin_);
  begin_ = 0;
  if (size > 0) {
    pending_.append(bytes, size);
  } else if (size == 0 || !may_try_again(errno)) {
    error_ = size == 0 ? 0 : errno;
    ended_ = true;
  }
}

bool InputLines::take(std::string* line) {
  while (!is_ready()) fill();
  if (begin_ >= pending_.size()) return false;
  size_t end = std::min(pending_.find('\n', begin_), pending_.size());
  if (error_ != 0 && end == pending_.size()) return false;
  *line = pending_.substr(begin_, end - begin_);
  begin_ = end + 1;
  return true;
}

Failure read_lines(const std::string& file,
                   const std::function<std::string(int number, const std::string& line)>& take) {
  const InputFile input(file);
  if (input.failure()) return input.failure();
  InputLines lines(input.fd());
  std::string line;
  for (int number = 1; lines.take(&line); ++number) {
    const std::string wrong = take(number, line);
    const char* const cut = lines.is_cut() ? "; the line has no end, so the file may be cut" : "";
    if (!wrong.empty()) return {kUsage, fmt::format("{}:{}: {}{}", file, number, wrong, cut)};
  }
  return lines.error() == 0 ? Failure() : file_failure(file, lines.error());
}

Failure read_file(const std::string& file, size_t most, std::string* content) {
  const InputFile input(file);
  if (input.failure()) return input.failure();
  char bytes[kReadSize];
  content->clear();
  while (content->size() <= most) {
    const ssize_t size = read_some(input.fd(), bytes);
    if (size == 0) return {};
    if (size > 0) content->append(bytes, size);
    else if (!may_try_again(errno)) return file_failure(file, errno);
  }
  return {kUsage, fmt::format("{} has more than {} bytes, the most that can be sent",
                              file == "-" ? "standard input" : file, most)};
}

}  // namespace atd::client
