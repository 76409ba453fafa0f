// Failures on request: every call through the platform boundary that can fail asks here first.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>

namespace atd::sim {

class Faults {
 public:
  // Makes the next `times` uses of a boundary call fail (all of them where none is given). The call is named as the
  // device names it, with what it works on where that matters: "set_ftm_item", "set_ftm_item 13".
  void fail(const std::string& call, int times = -1);

  // Makes the n-th boundary call from now on fail, whichever it is; 1 is the next one, 0 none.
  void fail_nth(int n);

  // Takes every failure back.
  void clear();

  // The number of boundary calls made so far.
  int calls() const { return calls_; }

  // Counts one call; true when it is to fail.
  bool hits(const char* call, const std::string& object = {});

 private:
  std::atomic<int> calls_{0};
  std::atomic<bool> armed_{false};
  std::mutex lock_;
  int nth_ = 0;
  std::map<std::string, int> rules_;
};

}  // namespace atd::sim
