#include "simulator/power.h"

#include <sstream>

#include "simulator/files.h"

namespace atd::sim {

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
    read_file(file_, &text);
    write_file(file_, text + (allowed ? "" : "refused ") + what + "\n");
  }
  if (allowed) ended_(what);
  return allowed;
}

std::vector<std::string> Power::history() const {
  std::lock_guard guard(lock_);
  std::string text;
  read_file(file_, &text);
  std::vector<std::string> result;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) result.push_back(line);
  return result;
}

}  // namespace atd::sim
