#include "simulator/settings_file.h"

#include <android/log.h>
#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "desk/words.h"
#include "simulator/files.h"

namespace atd::sim {

SettingsFile::SettingsFile(const std::string& root, const char* name, const char* tag, const std::string& standard)
    : path_(root + "/" + name), name_(name), tag_(tag) {
  make_folders(path_.substr(0, path_.rfind('/')));
  if (access(path_.c_str(), F_OK) != 0) write_file(path_, standard);
}

bool SettingsFile::changed(std::vector<SettingsLine>* lines) {
  // The version is taken before the content, so that an edit in between shows the next time.
  Version now{.known = true};
  struct stat file;
  if (stat(path_.c_str(), &file) == 0) {
    now = {true, file.st_ino, file.st_size, file.st_mtim.tv_sec, file.st_mtim.tv_nsec};
  }
  if (now == seen_) return false;
  seen_ = now;
  lines->clear();
  std::string content;
  if (!read_file(path_, &content) && errno != ENOENT) {
    __android_log_print(ANDROID_LOG_ERROR, tag_, "%s: %s", name_, strerror(errno));
  }
  std::istringstream text(content);
  int number = 0;
  for (std::string line; std::getline(text, line);) {
    ++number;
    line.erase(line.find_last_not_of(kSpaces) + 1);
    line.erase(0, line.find_first_not_of(kSpaces));
    if (!line.empty() && line[0] != '#') lines->push_back({number, line});
  }
  return true;
}

void SettingsFile::report(int line, const std::string& what) const {
  __android_log_print(ANDROID_LOG_ERROR, tag_, "%s:%d: %s", name_, line, what.c_str());
}

}  // namespace atd::sim
