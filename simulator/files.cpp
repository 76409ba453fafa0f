#include "simulator/files.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <filesystem>

namespace atd::sim {

namespace fs = std::filesystem;

namespace {

constexpr const char* kFresh = ".new~";  // in the name of a file that is being written

}  // namespace

bool read_file(const std::string& path, std::string* content) {
  content->clear();
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  char block[16384];
  ssize_t got;
  while ((got = read(fd, block, sizeof block)) > 0) content->append(block, static_cast<size_t>(got));
  int error = errno;
  close(fd);
  errno = error;
  return got == 0;
}

bool write_file(const std::string& path, const std::string& content) {
  // The thread in the name keeps two writers of one file apart; the last rename wins.
  std::string fresh = path + kFresh + std::to_string(gettid());
  int fd = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0660);
  if (fd < 0) return false;
  size_t done = 0;
  ssize_t put = 0;
  while (done < content.size() && (put = write(fd, content.data() + done, content.size() - done)) > 0) {
    done += static_cast<size_t>(put);
  }
  bool whole = close(fd) == 0 && done == content.size() && rename(fresh.c_str(), path.c_str()) == 0;
  if (!whole) {
    int error = errno;
    unlink(fresh.c_str());
    errno = error;
  }
  return whole;
}

void remove_leftovers(const std::string& folder) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.path().filename().string().find(kFresh) != std::string::npos) fs::remove(entry.path(), error);
  }
}

bool make_folders(const std::string& path) {
  std::error_code error;
  fs::create_directories(path, error);
  errno = error.value();
  return !error;
}

void empty_folder(const std::string& path) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(path, error)) fs::remove_all(entry.path(), error);
}

}  // namespace atd::sim
