// SIGINT and SIGTERM as something to wait for together with a connection.
#pragma once

#include <signal.h>

namespace atd::client {

// While an object lives, SIGINT and SIGTERM do not end the program but make its descriptor readable.
class StopSignals {
 public:
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  int fd() const { return fd_; }

 private:
  sigset_t before_;
  int fd_;
};

}  // namespace atd::client
