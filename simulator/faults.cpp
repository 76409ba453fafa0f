#include "simulator/faults.h"

namespace atd::sim {

void Faults::fail(const std::string& call, int times) {
  std::lock_guard guard(lock_);
  rules_[call] = times;
  armed_ = true;
}

void Faults::fail_nth(int n) {
  std::lock_guard guard(lock_);
  nth_ = n;
  armed_ = true;
}

void Faults::clear() {
  std::lock_guard guard(lock_);
  rules_.clear();
  nth_ = 0;
  armed_ = false;
}

bool Faults::hits(const char* call, const std::string& object) {
  ++calls_;
  if (!armed_) return false;
  std::lock_guard guard(lock_);
  bool hit = nth_ > 0 && --nth_ == 0;
  for (const std::string& name : {std::string(call), call + (" " + object)}) {
    auto rule = rules_.find(name);
    if (rule == rules_.end() || rule->second == 0) continue;
    if (rule->second > 0) --rule->second;
    hit = true;
  }
  return hit;
}

}  // namespace atd::sim
