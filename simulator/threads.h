// The phone's detached threads.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace atd::sim {

class Threads {
 public:
  // Starts a thread that nobody joins; 0 or an error number.
  int start(void* (*body)(void*), void* argument);

  // Returns once none of them runs any more.
  void await_none();

  // The same at the phone's end, when no sleep lasts any more: one that has slept a hundred times since then waits for
  // something that will not come, and ends.
  void end();

  // Called before a sleep. Does not return for one of the phone's threads past its hundredth sleep since the end began.
  void leave_at_end();

 private:
  struct Start;
  static void* run(void* start);

  std::atomic<bool> ending_{false};
  std::mutex lock_;
  std::condition_variable ended_;
  int running_ = 0;
};

}  // namespace atd::sim
