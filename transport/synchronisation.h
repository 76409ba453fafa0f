// A mutex and a condition variable for host daemons.
#pragma once

#include <pthread.h>

#pragma GCC visibility push(default)

// A mutex; failures are logged.
class Mutex {
 public:
  Mutex();
  ~Mutex();
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;
  void lock();
  void unlock();
  bool tryLock();  // true when taken
  pthread_mutex_t* nativeHandle() { return &mutex_; }

 private:
  pthread_mutex_t mutex_;
};

// A condition variable on the monotonic clock; failures are logged.
class CondVar {
 public:
  CondVar();
  ~CondVar();
  CondVar(const CondVar&) = delete;
  CondVar& operator=(const CondVar&) = delete;
  void wait(Mutex& mutex);
  bool wait(Mutex& mutex, long ms);  // at most that many milliseconds; true when woken, false on time-out or failure
  void notifyOne();

 private:
  pthread_cond_t condition_;
};

#pragma GCC visibility pop
