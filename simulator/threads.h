// The phone's detached threads.
#pragma once

#include <condition_variable>
#include <mutex>

namespace atd::sim {

class Threads {
 public:
  // Starts a thread that nobody joins; 0 or an error number.
  int start(void* (*body)(void*), void* argument);

  // Returns once none of them runs any more.
  void await_none();

 private:
  struct Start;
  static void* run(void* start);

  std::mutex lock_;
  std::condition_variable ended_;
  int running_ = 0;
};

}  // namespace atd::sim
