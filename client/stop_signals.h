// SIGINT and SIGTERM as something to wait for together with a connection.
#pragma once

#include <signal.h>

namespace atd::client {

// While an object lives, SIGINT and SIGTERM do not end the program but make its descriptor readable. That is for what
// has no end of its own; with `endless` false they end the program as usual, so that its status tells.
class StopSignals {
 public:
  explicit StopSignals(bool endless);
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  int fd() const { return fd_; }  // -1 where they end the program, also for want of a descriptor

 private:
  sigset_t before_;
  int fd_ = -1;
};

}  // namespace atd::client
