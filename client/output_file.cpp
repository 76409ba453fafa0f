#include "client/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace atd::client {
namespace {

// Writes the bytes as the whole content; 0 or an error number. A pipe or a device has no length to cut.
int write_whole(int fd, std::string_view bytes) {
  return ftruncate(fd, 0) == 0 || errno == EINVAL ? write_all(fd, bytes) : errno;
}

}  // namespace

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
  struct stat entry;
  const std::filesystem::path path = file;
  if (path.has_filename() && lstat(file.c_str(), &entry) != 0 && errno == ENOENT) {
    const std::string folder = path.parent_path();
    fd_ = ::open(folder.empty() ? "." : folder.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0666);
    is_nameless_ = fd_ >= 0;
    if (is_nameless_) return {};
  }
  fd_ = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  is_new_ = fd_ >= 0;
  if (!is_new_) fd_ = ::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  return fd_ >= 0 ? Failure() : file_failure(file, errno);
}

Failure OutputFile::write(std::string_view bytes) {
  if (fd_ == STDOUT_FILENO) return print(std::string(bytes));
  is_new_ = false;
  int error = write_whole(fd_, bytes);
  const std::string unnamed = fmt::format("/proc/self/fd/{}", fd_);
  if (error == 0 && is_nameless_ &&
      linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, file_.c_str(), AT_SYMLINK_FOLLOW) != 0) {
    // Somebody else has made the file, or the folder is gone.
    close(fd_);
    fd_ = ::open(file_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    error = fd_ < 0 ? errno : write_whole(fd_, bytes);
  }
  const int fd = fd_;
  fd_ = -1;
  // Some file systems tell only now that there was no room.
  if (fd >= 0 && close(fd) != 0 && error == 0) error = errno;
  return error == 0 ? Failure() : Failure{kNoOutput, file_ + " cannot be written: " + strerror(error)};
}

}  // namespace atd::client
