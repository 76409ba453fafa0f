#include "simulator/settings_file.h"

#include <android/log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <sstream>

#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr const char* kBlanks = " \t\r";

}  // namespace

SettingsFile::SettingsFile(const std::string& root, const char* name, const char* tag, const char* standard)
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
  read_file(path_, &content);
  std::istringstream text(content);
  int number = 0;
  for (std::string line; std::getline(text, line);) {
    ++number;
    line.erase(line.find_last_not_of(kBlanks) + 1);
    line.erase(0, line.find_first_not_of(kBlanks));
    if (!line.empty() && line[0] != '#') lines->push_back({number, line});
  }
  return true;
}

void SettingsFile::report(int line, const std::string& what) const {
  __android_log_print(ANDROID_LOG_ERROR, tag_, "%s:%d: %s", name_, line, what.c_str());
}

std::string take_word(std::string* text) {
  const size_t start = text->find_first_not_of(kBlanks);
  if (start == std::string::npos) {
    text->clear();
    return "";
  }
  const size_t end = text->find_first_of(kBlanks, start);
  std::string word = text->substr(start, end == std::string::npos ? end : end - start);
  text->erase(0, end);
  return word;
}

bool read_number(const std::string& word, int lowest, int highest, int* number) {
  const char* end = word.data() + word.size();
  int value = 0;
  const auto [rest, error] = std::from_chars(word.data(), end, value);
  if (error != std::errc() || rest != end || value < lowest || value > highest) return false;
  *number = value;
  return true;
}

}  // namespace atd::sim
