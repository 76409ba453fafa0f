#include "transport/synchronisation.h"

#include <android/log.h>
#include <errno.h>

#include "platform/os.h"

namespace {

// These two wrappers came with another component's tag and log under it to the main buffer.
void log_failure(const char* what, int error) {
  __android_log_print(ANDROID_LOG_ERROR, "BrcmNfcJni", "%s=0x%X", what, static_cast<unsigned>(error));
}

}  // namespace

Mutex::Mutex() {
  int error = pthread_mutex_init(&mutex_, nullptr);
  if (error != 0) log_failure("Mutex::Mutex: fail init; error", error);
}

Mutex::~Mutex() {
  int error = pthread_mutex_destroy(&mutex_);
  if (error != 0) log_failure("Mutex::~Mutex: fail destroy; error", error);
}

void Mutex::lock() {
  int error = pthread_mutex_lock(&mutex_);
  if (error != 0) log_failure("Mutex::lock: fail lock; error", error);
}

void Mutex::unlock() {
  int error = pthread_mutex_unlock(&mutex_);
  if (error != 0) log_failure("Mutex::unlock: fail unlock; error", error);
}

bool Mutex::tryLock() {
  int error = pthread_mutex_trylock(&mutex_);
  if (error != 0 && error != EBUSY) log_failure("Mutex::tryLock: error", error);
  return error == 0;
}

CondVar::CondVar() {
  pthread_condattr_t attributes;
  pthread_condattr_init(&attributes);
  pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  int error = pthread_cond_init(&condition_, &attributes);
  pthread_condattr_destroy(&attributes);
  if (error != 0) log_failure("CondVar::CondVar: fail init; error", error);
}

CondVar::~CondVar() {
  int error = pthread_cond_destroy(&condition_);
  if (error != 0) log_failure("CondVar::~CondVar: fail destroy; error", error);
}

void CondVar::wait(Mutex& mutex) {
  int error = pthread_cond_wait(&condition_, mutex.nativeHandle());
  if (error != 0) log_failure("CondVar::wait: fail wait; error", error);
}

bool CondVar::wait(Mutex& mutex, long ms) {
  struct timespec deadline;
  if (atd::os_clock_gettime(CLOCK_MONOTONIC, &deadline) != 0) {
    log_failure("CondVar::wait: fail get time; errno", errno);
    return false;
  }
  deadline.tv_sec += ms / 1000;
  deadline.tv_nsec += ms % 1000 * 1000000;
  // The carry comes one nanosecond late: a sum of exactly one second is passed on as it is, and the wait then ends at
  // once with an error.
  if (deadline.tv_nsec > 1000000000) {
    deadline.tv_sec += 1;
    deadline.tv_nsec -= 1000000000;
  }
  int error = atd::os_cond_timedwait(&condition_, mutex.nativeHandle(), CLOCK_MONOTONIC, &deadline);
  if (error != 0 && error != ETIMEDOUT) log_failure("CondVar::wait: fail timed wait; error", error);
  return error == 0;
}

void CondVar::notifyOne() {
  int error = pthread_cond_signal(&condition_);
  if (error != 0) log_failure("CondVar::notifyOne: fail signal; error", error);
}
