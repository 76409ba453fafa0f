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
  join_ended();
  {
    std::lock_guard guard(lock_);
    ++running_;
  }
  Start* start = new Start{this, body, argument};
  pthread_t thread;
  const int error = pthread_create(&thread, nullptr, run, start);
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
  start.owner->leave(true);
  return nullptr;
}

void Threads::leave(bool joinable) {
  std::lock_guard guard(lock_);
  --running_;
  if (joinable) ended_.push_back(pthread_self());
  changed_.notify_all();
}

// A thread that has left still gives its memory back: whoever forks must not meet it there.
void Threads::join_ended() {
  std::vector<pthread_t> ended;
  {
    std::lock_guard guard(lock_);
    ended.swap(ended_);
  }
  for (const pthread_t thread : ended) pthread_join(thread, nullptr);
}

void Threads::end() {
  ending_ = true;
  await_none();
}

void Threads::leave_at_end() {
  if (!ending_ || t_owner != this || ++t_late_sleeps <= 100) return;
  leave(false);
  // Its stack stays: nothing of the library could be unwound here.
  for (;;) pause();
}

void Threads::await_none() {
  {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return running_ == 0; });
  }
  join_ended();
}

}  // namespace atd::sim
