#include "client/stop_signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

namespace atd::client {

StopSignals::StopSignals(bool endless) {
  if (!endless) return;
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, &before_);
  fd_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (fd_ < 0) pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

StopSignals::~StopSignals() {
  if (fd_ < 0) return;
  // A signal that came is taken here, or it would end the program as soon as it is no longer blocked.
  signalfd_siginfo taken;
  while (read(fd_, &taken, sizeof taken) > 0) {
  }
  close(fd_);
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace atd::client
