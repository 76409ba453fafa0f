#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/os.h"

namespace atd {

namespace {

// Runs in the child of a process with threads, so it calls only what is safe in a signal handler.
[[noreturn]] void become(const char* const* argv, int failure) {
  // The program does not inherit what the daemon blocks and ignores.
  signal(SIGPIPE, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  execvp(argv[0], const_cast<char* const*>(argv));
  ssize_t told = write(failure, &errno, sizeof errno);
  _exit(told < 0 ? 126 : 127);
}

pid_t wait_for(pid_t child, int* status) {
  pid_t result;
  do {
    result = waitpid(child, status, WUNTRACED);
  } while (result < 0 && errno == EINTR);
  return result;
}

}  // namespace

int os_run(const char* const* argv) {
  // A program that starts closes the pipe. A child that cannot start it writes the errno.
  int failure[2];
  if (pipe2(failure, O_CLOEXEC) != 0) return -1;
  const pid_t child = fork();
  int error = errno;
  if (child == 0) become(argv, failure[1]);
  close(failure[1]);
  if (child < 0) {
    close(failure[0]);
    errno = error;
    return -1;
  }
  ssize_t length;
  do {
    length = read(failure[0], &error, sizeof error);
  } while (length < 0 && errno == EINTR);
  close(failure[0]);
  int status = 0;
  if (wait_for(child, &status) != child) return -1;
  if (length <= 0) return status;
  errno = error;
  return kNotExecuted;
}

}  // namespace atd
