#include "simulator/power.h"

#include <sstream>

#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr size_t kRequestsKept = 100;

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
    std::string text;
    for (const std::string& line : last_locked(kRequestsKept - 1)) text += line + "\n";
    write_file(file_, text + (allowed ? "" : "refused ") + what + "\n");
  }
  if (allowed) ended_(what);
  return allowed;
}

std::vector<std::string> Power::history() const {
  std::lock_guard guard(lock_);
  return last_locked(kRequestsKept);
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
