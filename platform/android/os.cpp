#include "platform/os.h"

#include <cutils/sockets.h>
#include <errno.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

namespace atd {

namespace {

struct Start {
  void* (*body)(void*);
  void* argument;
};

pthread_mutex_t g_threads_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t g_threads_ended = PTHREAD_COND_INITIALIZER;
int g_threads = 0;

void count_threads(int more) {
  pthread_mutex_lock(&g_threads_lock);
  g_threads += more;
  if (g_threads == 0) pthread_cond_broadcast(&g_threads_ended);
  pthread_mutex_unlock(&g_threads_lock);
}

void* run(void* argument) {
  const Start start = *static_cast<Start*>(argument);
  free(argument);
  start.body(start.argument);
  count_threads(-1);
  return nullptr;
}

}  // namespace

int os_ioctl(int fd, ioctl_request_t request, void* argument) { return ioctl(fd, request, argument); }

int os_system(const char* command) { return system(command); }

void os_sleep_us(uint64_t microseconds) {
  struct timespec left = {static_cast<time_t>(microseconds / 1000000),
                          static_cast<long>(microseconds % 1000000 * 1000)};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

int os_clock_gettime(clockid_t clock, struct timespec* now) { return clock_gettime(clock, now); }

int os_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t, const struct timespec* deadline) {
  // The condition itself knows its clock, by its attributes.
  return pthread_cond_timedwait(condition, mutex, deadline);
}

int os_wait_readable(int fd, uint64_t microseconds) {
  struct pollfd ready = {fd, POLLIN, 0};
  const struct timespec time = {static_cast<time_t>(microseconds / 1000000),
                                static_cast<long>(microseconds % 1000000 * 1000)};
  return ppoll(&ready, 1, &time, nullptr);
}

int os_umount2(const char* target, int flags) { return umount2(target, flags); }

void os_sync() { sync(); }

int os_statfs(const char* path, struct statfs* result) { return statfs(path, result); }

int os_start_thread(void* (*body)(void*), void* argument) {
  Start* start = static_cast<Start*>(malloc(sizeof(Start)));
  if (!start) return ENOMEM;
  *start = {body, argument};
  count_threads(1);
  pthread_t thread;
  const int error = pthread_create(&thread, nullptr, run, start);
  if (error == 0) {
    pthread_detach(thread);
  } else {
    free(start);
    count_threads(-1);
  }
  return error;
}

void os_await_threads() {
  pthread_mutex_lock(&g_threads_lock);
  while (g_threads != 0) pthread_cond_wait(&g_threads_ended, &g_threads_lock);
  pthread_mutex_unlock(&g_threads_lock);
}

int os_connect_local(const char* name) {
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  // A name that is too long fails without an errno of its own.
  errno = ENAMETOOLONG;
  if (socket_local_client_connect(fd, name, ANDROID_SOCKET_NAMESPACE_RESERVED, SOCK_STREAM) >= 0) return fd;
  int error = errno;
  close(fd);
  errno = error;
  return -1;
}

}  // namespace atd
