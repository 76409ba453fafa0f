#include "client/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

namespace atd::client {

OutputFile::~OutputFile() {
  if (is_new_) unlink(file_.c_str());
  if (fd_ > STDOUT_FILENO) close(fd_);
}

Failure OutputFile::open(const std::string& file) {
  file_ = file;
  if (file == "-") {
    fd_ = STDOUT_FILENO;
    return {};
  }
  fd_ = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  is_new_ = fd_ >= 0;
  if (!is_new_) fd_ = ::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  return fd_ >= 0 ? Failure() : file_failure(file, errno);
}

Failure OutputFile::write(std::string_view bytes) {
  if (fd_ == STDOUT_FILENO) return print(std::string(bytes));
  is_new_ = false;
  // A pipe or a device has no length to cut.
  int error = ftruncate(fd_, 0) == 0 || errno == EINVAL ? write_all(fd_, bytes) : errno;
  const int fd = fd_;
  fd_ = -1;
  // Some file systems tell only now that there was no room.
  if (close(fd) != 0 && error == 0) error = errno;
  return error == 0 ? Failure() : Failure{kNoOutput, file_ + " cannot be written: " + strerror(error)};
}

}  // namespace atd::client
