#include "simulator/files.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace atd::sim {

namespace fs = std::filesystem;

namespace {

constexpr const char* kFresh = ".new~";  // in the name of a file that is being written
constexpr int kLinksMax = 40;            // as in Linux

// Opens a file that is not a link; what else is no file fails instead of waiting for a writer.
int open_file(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  struct stat file;
  if (fd < 0 || (fstat(fd, &file) == 0 && (S_ISREG(file.st_mode) || S_ISDIR(file.st_mode)))) return fd;
  close(fd);
  errno = EINVAL;
  return -1;
}

}  // namespace

std::string resolve(const std::string& root, const std::string& path, Last last) {
  std::string result = root, rest = path;
  int links = 0;
  bool missing = false;  // then nothing below is there, either
  for (size_t at = 0; at < rest.size();) {
    const size_t end = std::min(rest.find('/', at), rest.size());
    const std::string part = rest.substr(at, end - at);
    at = end + 1;
    if (part.empty() || part == ".") continue;
    if (part == "..") {
      if (result.size() > root.size()) result.resize(result.rfind('/'));
      missing = false;
      continue;
    }
    const size_t parent = result.size();
    result += '/' + part;
    if (missing || (end == rest.size() && last == Last::itself)) continue;
    char target[PATH_MAX];
    const ssize_t length = readlink(result.c_str(), target, sizeof target);
    missing = length < 0 && errno == ENOENT;
    if (length <= 0) continue;
    if (++links > kLinksMax) {
      errno = ELOOP;
      return "";
    }
    result.resize(target[0] == '/' ? root.size() : parent);
    rest = std::string(target, static_cast<size_t>(length)) + rest.substr(end);
    at = 0;
  }
  if (path.ends_with('/') && result.size() > root.size()) result += '/';
  return result;
}

bool is_pipe_or_device(const std::string& path) {
  struct stat file;
  return lstat(path.c_str(), &file) == 0 && (S_ISFIFO(file.st_mode) || S_ISCHR(file.st_mode) || S_ISBLK(file.st_mode));
}

bool read_rest(int fd, std::string* content) {
  content->clear();
  char block[16384];
  ssize_t got;
  while ((got = read(fd, block, sizeof block)) > 0) content->append(block, static_cast<size_t>(got));
  return got == 0;
}

bool read_file(const std::string& path, std::string* content) {
  content->clear();
  const int fd = open_file(path);
  if (fd < 0) return false;
  const bool whole = read_rest(fd, content);
  const int error = errno;
  close(fd);
  errno = error;
  return whole;
}

bool write_rest(int fd, const std::string& content) {
  for (size_t done = 0; done < content.size();) {
    const ssize_t put = write(fd, content.data() + done, content.size() - done);
    if (put < 0 && errno == EINTR) continue;
    if (put == 0) errno = ENOSPC;
    if (put <= 0) return false;
    done += static_cast<size_t>(put);
  }
  return true;
}

bool write_file(const std::string& path, const std::string& content, bool synced) {
  // The thread in the name keeps two writers of one file apart; the last rename wins.
  std::string fresh = path + kFresh + std::to_string(gettid());
  int fd = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0660);
  if (fd < 0) return false;
  // The content is on the medium before its name is: else the name could stand there with half of it.
  bool whole = write_rest(fd, content) && (!synced || fsync(fd) == 0);
  int error = errno;
  if (close(fd) != 0 && whole) whole = false, error = errno;
  if (whole && rename(fresh.c_str(), path.c_str()) != 0) whole = false, error = errno;
  if (!whole) {
    unlink(fresh.c_str());
    errno = error;
    return false;
  }
  return !synced || sync_folder(path.substr(0, path.rfind('/')));
}

bool sync_folder(const std::string& path) {
  int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  bool done = fsync(fd) == 0;
  int error = errno;
  close(fd);
  errno = error;
  return done;
}

void remove_leftovers(const std::string& folder) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.path().filename().string().find(kFresh) != std::string::npos) fs::remove(entry.path(), error);
  }
}

std::string make_temporary(const std::string& prefix, std::string* error) {
  std::error_code failed;
  std::string folder = fs::temp_directory_path(failed) / (prefix + "-XXXXXX");
  if (!failed && mkdtemp(folder.data())) return folder;
  if (!failed) failed.assign(errno, std::generic_category());
  *error = "no folder can be made in TMPDIR, or /tmp: " + failed.message() + "; set TMPDIR to another one";
  return "";
}

bool make_folders(const std::string& path) {
  std::error_code error;
  fs::create_directories(path, error);
  errno = error.value();
  return !error;
}

bool empty_folder(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return errno == ENOENT;
  // By its descriptor, so that a link that takes the folder's place meanwhile leads nowhere.
  std::error_code failed;
  bool whole = true;
  fs::directory_iterator entry("/proc/self/fd/" + std::to_string(fd), failed);
  for (; !failed && entry != fs::directory_iterator(); entry.increment(failed)) {
    std::error_code error;
    fs::remove_all(entry->path(), error);
    if (error) whole = false;
  }
  close(fd);
  return whole && !failed;
}

}  // namespace atd::sim
