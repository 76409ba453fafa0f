// The phone's clock. It follows the desktop's, and can be put ahead of it. A test makes it virtual, and then time
// passes only when something sleeps or the test says so.
#pragma once

#include <pthread.h>
#include <stdint.h>
#include <time.h>

#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <set>
#include <thread>

namespace atd::sim {

class Clock {
 public:
  ~Clock();

  // From now on a sleep moves the time ahead at once, and a timed wait lasts until it is woken or `advance` passes
  // its deadline.
  void make_virtual();

  // From now on a sleep, too, lasts until `advance` passes its end (virtual clock only).
  void hold_sleeps();

  // Ends every sleep and lets no further one last: the phone is going away.
  void release();

  // Moves the time ahead; sleeps and timed waits whose end it passes end.
  void advance(uint64_t microseconds);

  bool is_virtual() const;

  // How far a clock that is not virtual is ahead of the desktop's, in microseconds.
  uint64_t ahead() const { return ahead_; }

  // Returns once `count` threads are in a timed wait or a held sleep.
  void await_waiters(int count = 1);

  // On a virtual clock, returns once somebody waits for a descriptor, at the latest after a second of the desktop's.
  // What then sleeps is late for that reader, who would else begin to wait at the end of the sleep.
  void await_reader();

  // The total of all sleeps so far, in microseconds.
  uint64_t slept() const;

  // The monotonic clock in microseconds.
  uint64_t now() const;

  // These do the work of the verbs of platform/os.h, and have their contracts.
  int get(clockid_t clock, struct timespec* now);
  void sleep(uint64_t microseconds);
  int timed_wait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock, const struct timespec* deadline);
  int wait_readable(int fd, uint64_t microseconds);

 private:
  // A timed wait, what wakes it, and the time on the monotonic clock that ends it.
  struct TimedWait {
    pthread_cond_t* condition;  // null: an event wakes it
    int event;
    uint64_t end;
  };

  uint64_t now_locked(clockid_t clock) const;
  void start_waker_locked();
  void wake_overdue();

  mutable std::mutex lock_;
  std::condition_variable changed_;
  bool virtual_ = false;
  bool hold_ = false;
  bool released_ = false;
  bool gone_ = false;
  std::atomic<uint64_t> ahead_{0};
  uint64_t virtual_now_ = 0;            // microseconds of the monotonic clock
  uint64_t virtual_base_ = 0;           // how far the real-time clock is ahead of it
  std::multiset<uint64_t> sleep_ends_;  // of the sleeps that last, on the monotonic clock
  std::list<TimedWait> timed_waits_;
  std::thread waker_;  // wakes the timed waits that a sleep or `advance` has ended
  uint64_t slept_ = 0;
};

}  // namespace atd::sim
