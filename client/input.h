// Files and standard input, read without a buffer that would hide their bytes from poll().
#pragma once

#include <functional>
#include <string>

#include "client/failure.h"

namespace atd::client {

// A file opened for reading, or standard input for "-", which stays open.
class InputFile {
 public:
  explicit InputFile(const std::string& file);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  int fd() const { return fd_; }

  // Why the file cannot be opened, as file_failure() has it.
  const Failure& failure() const { return failure_; }

 private:
  int fd_;
  Failure failure_;
};

class InputLines {
 public:
  explicit InputLines(int fd) : fd_(fd) {}  // stays the caller's

  // Whether take() does not have to wait.
  bool is_ready() const { return ended_ || pending_.find('\n', begin_) != std::string::npos; }

  // Reads what there is, and waits when there is nothing yet.
  void fill();

  // Takes the next line without its line feed, at the end the rest that has none; false after the last. The rest before
  // a read error is not taken: it may be half a line.
  bool take(std::string* line);

  // Whether the line taken last was the rest without a line feed.
  bool is_cut() const { return begin_ > pending_.size(); }

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
// is wrong with one; kUsage with that as "FILE:LINE: what is wrong", or file_failure() when the file cannot be read.
Failure read_lines(const std::string& file,
                   const std::function<std::string(int number, const std::string& line)>& take);

// Reads a whole file, "-" for standard input; file_failure() when it cannot be read, kUsage when it has more than
// `most` bytes.
Failure read_file(const std::string& file, size_t most, std::string* content);

}  // namespace atd::client
