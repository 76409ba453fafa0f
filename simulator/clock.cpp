#include "simulator/clock.h"

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
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

uint64_t Clock::now_locked(clockid_t clock) const {
  if (virtual_) return virtual_now_ + (clock == CLOCK_REALTIME ? virtual_base_ : 0);
  struct timespec now;
  clock_gettime(clock, &now);
  return microseconds(now) + ahead_;
}

void Clock::make_virtual() {
  std::lock_guard guard(lock_);
  const uint64_t monotonic = now_locked(CLOCK_MONOTONIC), real = now_locked(CLOCK_REALTIME);
  virtual_ = true;
  virtual_now_ = monotonic;
  virtual_base_ = real - monotonic;
}

void Clock::start_waker_locked() {
  if (!waker_.joinable()) waker_ = std::thread([this] { wake_overdue(); });
}

// A thread of its own, because what moves the time must not take a lock of the waiter's. Without that lock a wake-up
// may come just before the waiter waits and be lost, so it comes again until the waiter is gone.
void Clock::wake_overdue() {
  std::unique_lock guard(lock_);
  while (!gone_) {
    bool overdue = false;
    const uint64_t now = now_locked(CLOCK_MONOTONIC);
    for (const TimedWait& wait : timed_waits_) {
      if (wait.end > now && !(released_ && !wait.condition)) continue;
      if (wait.condition) pthread_cond_broadcast(wait.condition);
      else eventfd_write(wait.event, 1);
      overdue = true;
    }
    if (overdue) changed_.wait_for(guard, std::chrono::milliseconds(1));
    else changed_.wait(guard);
  }
}

uint64_t Clock::now() const {
  std::lock_guard guard(lock_);
  return now_locked(CLOCK_MONOTONIC);
}

bool Clock::is_virtual() const {
  std::lock_guard guard(lock_);
  return virtual_;
}

void Clock::hold_sleeps() {
  std::lock_guard guard(lock_);
  hold_ = true;
}

void Clock::release() {
  std::lock_guard guard(lock_);
  released_ = true;
  if (!timed_waits_.empty()) start_waker_locked();
  changed_.notify_all();
}

void Clock::advance(uint64_t us) {
  std::lock_guard guard(lock_);
  if (virtual_) virtual_now_ += us;
  else ahead_ += us;
  if (!timed_waits_.empty()) start_waker_locked();
  changed_.notify_all();
}

void Clock::await_waiters(int count) {
  std::unique_lock guard(lock_);
  // One whose end has come waits no more, even where its thread has not noticed yet.
  changed_.wait(guard, [&] {
    const uint64_t now = now_locked(CLOCK_MONOTONIC);
    const auto waits =
        std::count_if(timed_waits_.begin(), timed_waits_.end(), [&](const TimedWait& wait) { return wait.end > now; });
    return waits + std::distance(sleep_ends_.upper_bound(now), sleep_ends_.end()) >= count;
  });
}

void Clock::await_reader() {
  std::unique_lock guard(lock_);
  if (!virtual_) return;
  changed_.wait_for(guard, std::chrono::seconds(1), [&] {
    return released_ || std::any_of(timed_waits_.begin(), timed_waits_.end(),
                                    [](const TimedWait& wait) { return wait.condition == nullptr; });
  });
}

uint64_t Clock::slept() const {
  std::lock_guard guard(lock_);
  return slept_;
}

int Clock::get(clockid_t clock, struct timespec* now) {
  std::lock_guard guard(lock_);
  if (!virtual_ && ahead_ == 0) return clock_gettime(clock, now);
  *now = to_timespec(now_locked(clock));
  return 0;
}

void Clock::sleep(uint64_t us) {
  std::unique_lock guard(lock_);
  slept_ += us;
  if (virtual_ && !hold_) {
    virtual_now_ += us;
    changed_.notify_all();
    return;
  }
  const uint64_t end = now_locked(CLOCK_MONOTONIC) + us;
  const auto held = sleep_ends_.insert(end);
  changed_.notify_all();
  for (uint64_t now; !released_ && (now = now_locked(CLOCK_MONOTONIC)) < end;) {
    if (virtual_) changed_.wait(guard);
    else changed_.wait_for(guard, std::chrono::microseconds(end - now));
  }
  sleep_ends_.erase(held);
}

int Clock::timed_wait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                      const struct timespec* deadline) {
  if (deadline->tv_nsec < 0 || deadline->tv_nsec >= 1000000000) return EINVAL;
  std::list<TimedWait>::iterator wait;
  struct timespec real_deadline = {};
  bool timed;
  {
    std::lock_guard guard(lock_);
    // What is left until the deadline may be negative.
    const int64_t left = static_cast<int64_t>(microseconds(*deadline)) - static_cast<int64_t>(now_locked(clock));
    const uint64_t end = now_locked(CLOCK_MONOTONIC) + static_cast<uint64_t>(left);
    wait = timed_waits_.insert(timed_waits_.end(), {condition, -1, end});
    timed = !virtual_;
    // A deadline from before the clock was put ahead may lie before the desktop's clock began.
    if (timed) real_deadline = to_timespec(std::max(microseconds(*deadline), ahead_.load()) - ahead_);
    else start_waker_locked();
    changed_.notify_all();
  }
  // One long wait, not many short ones: a signal is lost when it comes after a short wait has ended and before that has
  // the mutex again.
  int result = timed ? pthread_cond_timedwait(condition, mutex, &real_deadline) : pthread_cond_wait(condition, mutex);
  std::lock_guard guard(lock_);
  if (now_locked(CLOCK_MONOTONIC) >= wait->end) result = ETIMEDOUT;
  timed_waits_.erase(wait);
  return result;
}

int Clock::wait_readable(int fd, uint64_t us) {
  const int over = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (over < 0) return -1;
  std::unique_lock guard(lock_);
  const auto wait = timed_waits_.insert(timed_waits_.end(), {nullptr, over, now_locked(CLOCK_MONOTONIC) + us});
  if (virtual_) start_waker_locked();
  changed_.notify_all();
  struct pollfd ready[] = {{fd, POLLIN, 0}, {over, POLLIN, 0}};
  int result = 0, error = 0;
  // What comes after the deadline is late, even if nobody has looked before.
  for (uint64_t now; !released_ && (now = now_locked(CLOCK_MONOTONIC)) < wait->end;) {
    const struct timespec left = to_timespec(wait->end - now);
    const bool timed = !virtual_;
    guard.unlock();
    result = ppoll(ready, 2, timed ? &left : nullptr, nullptr);
    error = errno;
    guard.lock();
    if (result < 0 || (ready[0].revents != 0 && now_locked(CLOCK_MONOTONIC) < wait->end)) break;
    result = 0;
  }
  timed_waits_.erase(wait);
  close(over);
  errno = error;
  return result > 0 ? 1 : result;
}

}  // namespace atd::sim
