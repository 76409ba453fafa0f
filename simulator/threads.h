// The phone's threads that nobody waits for by name.
#pragma once

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace atd::sim {

class Threads {
 public:
  // Starts a thread; 0 or an error number.
  int start(void* (*body)(void*), void* argument);

  // Returns once none of them is there any more.
  void await_none();

  // The same at the phone's end, when no sleep lasts any more: one that has slept a hundred times since then waits for
  // something that will not come, and ends.
  void end();

  // Called before a sleep. Does not return for one of the phone's threads past its hundredth sleep since the end began.
  void leave_at_end();

 private:
  struct Start;
  static void* run(void* start);
  void leave(bool joinable);
  void join_ended();

  std::atomic<bool> ending_{false};
  std::mutex lock_;
  std::condition_variable changed_;
  int running_ = 0;
  std::vector<pthread_t> ended_;  // still to be joined
};

}  // namespace atd::sim
