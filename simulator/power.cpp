#include "simulator/power.h"

#include <android/log.h>

#include <sstream>

#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr size_t kLinesKept = 100;

}  // namespace

void Power::shut() {
  std::lock_guard guard(lock_);
  shut_ = true;
}

bool Power::request(const std::string& what) {
  bool allowed;
  {
    std::lock_guard guard(lock_);
    if (shut_) return false;
    allowed = static_cast<bool>(ended_);
    record_locked((allowed ? "" : "refused ") + what);
  }
  __android_log_print(allowed ? ANDROID_LOG_INFO : ANDROID_LOG_WARN, "phone", "%s%s", what.c_str(),
                      allowed ? "" : " is refused: nobody allows it");
  if (allowed) ended_(what);
  return allowed;
}

void Power::note(const std::string& what) {
  std::lock_guard guard(lock_);
  record_locked(what);
}

void Power::record_locked(const std::string& line) {
  std::string text;
  for (const std::string& before : last_locked(kLinesKept - 1)) text += before + "\n";
  write_file(file_, text + line + "\n");
}

std::vector<std::string> Power::history() const {
  std::lock_guard guard(lock_);
  return last_locked(kLinesKept);
}

std::vector<std::string> Power::last_locked(size_t count) const {
  std::string text;
  read_file(file_, &text);
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  if (lines.size() > count) lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(count));
  return lines;
}

}  // namespace atd::sim
