// A mutex held until the end of a scope.
#pragma once

#include <pthread.h>

namespace atd {

class ScopedLock {
 public:
  // Takes the mutex, which outlives the lock.
  explicit ScopedLock(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  ~ScopedLock() { pthread_mutex_unlock(&mutex_); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  pthread_mutex_t& mutex_;
};

}  // namespace atd
