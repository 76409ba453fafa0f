#include "simulator/clock.h"

#include <errno.h>
#include <time.h>

#include <chrono>

namespace atd::sim {

namespace {

constexpr uint64_t kSecond = 1000000;

uint64_t microseconds(const struct timespec& t) {
  return static_cast<uint64_t>(t.tv_sec) * kSecond + static_cast<uint64_t>(t.tv_nsec) / 1000;
}

struct timespec to_timespec(uint64_t us) {
  return {static_cast<time_t>(us / kSecond), static_cast<long>(us % kSecond * 1000)};
}

}  // namespace

Clock::~Clock() {
  {
    std::lock_guard guard(lock_);
    gone_ = true;
    changed_.notify_all();
  }
  if (waker_.joinable()) waker_.join();
}

void Clock::make_virtual() {
  std::lock_guard guard(lock_);
  struct timespec real, monotonic;
  clock_gettime(CLOCK_REALTIME, &real);
  clock_gettime(CLOCK_MONOTONIC, &monotonic);
  virtual_ = true;
  virtual_now_ = microseconds(monotonic);
  realtime_base_ = static_cast<int64_t>(microseconds(real)) - static_cast<int64_t>(virtual_now_);
}

// A thread of its own, because what moves the time must not take a lock of the waiter's. Without that lock a wake-up may
// come just before the waiter waits and be lost, so it comes again until the waiter is gone.
void Clock::wake_overdue() {
  std::unique_lock guard(lock_);
  while (!gone_) {
    bool overdue = false;
    for (const TimedWait& wait : timed_waits_) {
      if (wait.end > virtual_now_) continue;
      pthread_cond_broadcast(wait.condition);
      overdue = true;
    }
    if (overdue) changed_.wait_for(guard, std::chrono::milliseconds(1));
    else changed_.wait(guard);
  }
}

void Clock::hold_sleeps() {
  std::lock_guard guard(lock_);
  hold_ = true;
}

void Clock::release() {
  std::lock_guard guard(lock_);
  released_ = true;
  changed_.notify_all();
}

void Clock::advance(uint64_t us) {
  std::lock_guard guard(lock_);
  virtual_now_ += us;
  changed_.notify_all();
}

void Clock::await_waiters(int count) {
  std::unique_lock guard(lock_);
  changed_.wait(guard, [&] { return waiters_ >= count; });
}

uint64_t Clock::slept() const {
  std::lock_guard guard(lock_);
  return slept_;
}

int Clock::get(clockid_t clock, struct timespec* now) {
  {
    std::lock_guard guard(lock_);
    if (virtual_) {
      *now = to_timespec(virtual_now_ + static_cast<uint64_t>(clock == CLOCK_REALTIME ? realtime_base_ : 0));
      return 0;
    }
  }
  return clock_gettime(clock, now);
}

void Clock::sleep(uint64_t us) {
  std::unique_lock guard(lock_);
  slept_ += us;
  if (!virtual_) {
    changed_.wait_for(guard, std::chrono::microseconds(us), [&] { return released_; });
    return;
  }
  if (!hold_) {
    virtual_now_ += us;
    changed_.notify_all();
    return;
  }
  uint64_t end = virtual_now_ + us;
  ++waiters_;
  changed_.notify_all();
  changed_.wait(guard, [&] { return released_ || virtual_now_ >= end; });
  --waiters_;
}

int Clock::timed_wait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                      const struct timespec* deadline) {
  if (deadline->tv_nsec < 0 || deadline->tv_nsec >= 1000000000) return EINVAL;
  auto wait = timed_waits_.end();
  {
    std::lock_guard guard(lock_);
    if (virtual_) {
      uint64_t end = microseconds(*deadline) - static_cast<uint64_t>(clock == CLOCK_REALTIME ? realtime_base_ : 0);
      wait = timed_waits_.insert(timed_waits_.end(), {condition, end});
      if (!waker_.joinable()) waker_ = std::thread([this] { wake_overdue(); });
    }
    ++waiters_;
    changed_.notify_all();
  }
  // Not in short timed waits of its own: a signal that comes as one of them ends, before it has the mutex again, is lost.
  const bool timed = wait == timed_waits_.end();
  int result = timed ? pthread_cond_timedwait(condition, mutex, deadline) : pthread_cond_wait(condition, mutex);
  std::lock_guard guard(lock_);
  if (!timed) {
    if (virtual_now_ >= wait->end) result = ETIMEDOUT;
    timed_waits_.erase(wait);
  }
  --waiters_;
  return result;
}

}  // namespace atd::sim
