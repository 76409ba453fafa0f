#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/signalfd.h>
#include <time.h>
#include <unistd.h>

#include "client/commands.h"
#include "client/json.h"

namespace atd::client {
namespace {

// While it lives SIGINT and SIGTERM do not end the program, but make a descriptor readable.
class StopSignals {
 public:
  StopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, &before_);
    fd_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  }
  ~StopSignals() {
    // One that came is taken here, or it would strike as soon as it is no longer blocked.
    signalfd_siginfo taken;
    while (read(fd_, &taken, sizeof taken) > 0) {
    }
    close(fd_);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  int fd() const { return fd_; }

 private:
  sigset_t before_;
  int fd_;
};

std::string message_line(const timespec& time, int sequence, const Message& message) {
  tm local;
  char clock[16], head[64];
  localtime_r(&time.tv_sec, &local);
  strftime(clock, sizeof clock, "%H:%M:%S", &local);
  snprintf(head, sizeof head, "%s.%06ld %5d  %3d %-8s  ", clock, time.tv_nsec / 1000, sequence, message.code,
           code_name(message.code));
  return head + message_text(message) + "\n";
}

}  // namespace

int run_monitor(const Target& target, bool json, int count) {
  StopSignals signals;
  Connection connection;
  Failure failure = connect(connection, target, in_seconds(target.timeout));
  if (failure) return complain(failure);
  bool stopped = false;
  for (int sequence = 1; count == 0 || sequence <= count; ++sequence) {
    Message message;
    Wait wait = connection.next(&message, Deadline::max(), signals.fd());
    if (wait == Wait::woken) return kOk;
    if (wait != Wait::message) return stopped ? kOk : complain(went_away(target));
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    print(json ? message_json(now, sequence, message) : message_line(now, sequence, message));
    stopped = stopped || message.code == kStoppedCode;
  }
  return kOk;
}

int run_wait(const Target& target) {
  constexpr double kLong = 1;
  auto begin = std::chrono::steady_clock::now();
  Deadline deadline = in_seconds(target.timeout);
  for (;;) {
    Connection connection;
    Failure failure = connect(connection, target, deadline, true);
    if (failure) return complain({kTimedOut, failure.text});
    Wait wait = connection.settle(deadline);
    if (wait == Wait::timed_out) return complain(timed_out(target, "no answer"));
    if (wait == Wait::message) break;
    // It stopped while this client stood at its door: another may come.
  }
  std::chrono::duration<double> waited = std::chrono::steady_clock::now() - begin;
  if (waited.count() > kLong) fprintf(stderr, "atdctl: ready after %.1f s\n", waited.count());
  return kOk;
}

}  // namespace atd::client
