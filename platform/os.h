// The device verbs that a folder of files cannot stand in for. Paths are the phone's own, unmapped.
#pragma once

#include <pthread.h>
#include <stdint.h>
#include <sys/types.h>
#include <sys/vfs.h>
#include <time.h>

#include "platform_port.h"

namespace atd {

// Sends a device-control request to an open descriptor; the driver's return value, or -1 with errno.
int os_ioctl(int fd, ioctl_request_t request, void* argument);

// Runs a shell command and waits for it; its wait status as `system` gives it, or -1 when no shell could be started.
int os_system(const char* command);

// Runs argv[0], searched on the program path, and waits until it ends or is stopped; its wait status as `waitpid` gives
// it, -1 with errno when no process could be started or waited for, or kNotExecuted with errno when argv[0] cannot be
// executed. Nobody waits again for a program that was stopped. argv ends with a null pointer and stays the caller's.
inline constexpr int kNotExecuted = -2;
int os_run(const char* const* argv);

// Sleeps for the given number of microseconds.
void os_sleep_us(uint64_t microseconds);

// Reads CLOCK_REALTIME or CLOCK_MONOTONIC into *now; 0, or -1 with errno.
int os_clock_gettime(clockid_t clock, struct timespec* now);

// Waits, with the mutex held, on a condition whose waits use the given clock, until that clock reaches the
// deadline; 0 when woken, ETIMEDOUT, or another error number of pthread_cond_timedwait.
int os_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                      const struct timespec* deadline);

// Waits until a descriptor can be read, its end included, for at most that long; 1, 0 when the time is over, or -1 with
// errno.
int os_wait_readable(int fd, uint64_t microseconds);

// Unmounts `target` with the flags of umount2; 0, or -1 with errno.
int os_umount2(const char* target, int flags);

// Writes every file system's cached data to its medium.
void os_sync();

// Reads the size and free space of the file system that holds `path`; 0, or -1 with errno.
int os_statfs(const char* path, struct statfs* result);

// Starts a detached thread; 0, or an error number. `argument` stays the caller's.
int os_start_thread(void* (*body)(void*), void* argument);

// Waits until every thread of os_start_thread has ended.
void os_await_threads();

// Connects to a local stream socket by its name ("vold"); a descriptor that the caller closes, or -1 with errno.
int os_connect_local(const char* name);

}  // namespace atd
