// Lines of a file or of standard input, read without a buffer that would hide them from poll().
#pragma once

#include <functional>
#include <string>

#include "client/output.h"

namespace atd::client {

class InputLines {
 public:
  explicit InputLines(int fd) : fd_(fd) {}  // stays the caller's

  // Whether take() does not have to wait.
  bool is_ready() const { return ended_ || pending_.find('\n', begin_) != std::string::npos; }

  // Reads what there is, and waits when there is nothing yet.
  void fill();

  // Takes the next line without its line feed, at the end the rest that has none; false after the last.
  bool take(std::string* line);

  // The error number of the read that ended the lines, 0 when they ended by themselves.
  int error() const { return error_; }

 private:
  int fd_;
  std::string pending_;
  size_t begin_ = 0;  // of the line not yet taken
  bool ended_ = false;
  int error_ = 0;
};

// Hands the lines of a file, "-" for standard input, to `take` with their numbers, 1 for the first, until it says what
// is wrong with one; kUsage with that as "FILE:LINE: what is wrong", or when the file cannot be read.
Failure read_lines(const std::string& file, const std::function<std::string(int number, const std::string& line)>& take);

}  // namespace atd::client
