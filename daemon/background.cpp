#include "daemon/background.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <vector>

namespace atd {

namespace {

// The process in the background that this one waits for.
pid_t g_detached;

}  // namespace

void open_standard_streams() {
  int fd;
  do fd = open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO);
  close(fd);
}

void close_inherited(int handed_over) {
  std::vector<int> open_now;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
    open_now.push_back(atoi(entry.path().filename().c_str()));
  }
  for (int fd : open_now) {
    if (fd > STDERR_FILENO && fd != handed_over) close(fd);
  }
}

int detach() {
  int ready[2];
  if (pipe2(ready, O_CLOEXEC) != 0) return -1;
  g_detached = fork();
  if (g_detached < 0) return -1;
  if (g_detached == 0) {
    close(ready[0]);
    setsid();
    return ready[1];
  }
  close(ready[1]);
  sigset_t signals;
  sigemptyset(&signals);
  for (int stop : kStopSignals) {
    signal(stop, [](int number) { kill(g_detached, number); });
    sigaddset(&signals, stop);
  }
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
  char byte;
  if (read(ready[0], &byte, 1) == 1) _exit(0);
  int status = 0;
  waitpid(g_detached, &status, 0);
  _exit(WIFEXITED(status) && WEXITSTATUS(status) != 0 ? WEXITSTATUS(status) : 1);
}

void drop_terminal(int handed_over) {
  int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
    if (fd != handed_over) dup2(null, fd);
  }
  close(null);
}

}  // namespace atd
