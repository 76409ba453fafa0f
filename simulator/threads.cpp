#include "simulator/threads.h"

#include <pthread.h>
#include <unistd.h>

namespace atd::sim {

namespace {

thread_local Threads* t_owner;  // null for a thread that is not the phone's
thread_local int t_late_sleeps;

}  // namespace

struct Threads::Start {
  Threads* owner;
  void* (*body)(void*);
  void* argument;
};

int Threads::start(void* (*body)(void*), void* argument) {
  {
    std::lock_guard guard(lock_);
    ++running_;
  }
  Start* start = new Start{this, body, argument};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  int error = pthread_create(&thread, &attributes, run, start);
  pthread_attr_destroy(&attributes);
  if (error != 0) {
    delete start;
    std::lock_guard guard(lock_);
    --running_;
  }
  return error;
}

void* Threads::run(void* argument) {
  Start start = *static_cast<Start*>(argument);
  delete static_cast<Start*>(argument);
  t_owner = start.owner;
  start.body(start.argument);
  std::lock_guard guard(start.owner->lock_);
  --start.owner->running_;
  start.owner->ended_.notify_all();
  return nullptr;
}

void Threads::end() {
  ending_ = true;
  await_none();
}

void Threads::leave_at_end() {
  if (!ending_ || t_owner != this || ++t_late_sleeps <= 100) return;
  {
    std::lock_guard guard(lock_);
    --running_;
    ended_.notify_all();
  }
  // Its stack stays: nothing of the library could be unwound here.
  for (;;) pause();
}

void Threads::await_none() {
  std::unique_lock guard(lock_);
  ended_.wait(guard, [&] { return running_ == 0; });
}

}  // namespace atd::sim
