// The daemon on a phone: serves its socket, which init has made, until init tells it to stop.
#include <signal.h>

#include "atd.h"
#include "daemon/boot.h"

int main() {
  // SIGTERM is blocked before the first thread starts, so that every thread leaves it to sigwait.
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGTERM);
  sigprocmask(SIG_BLOCK, &stop, nullptr);
  // A write to a client that is gone fails; it does not end the daemon.
  signal(SIGPIPE, SIG_IGN);

  atd::boot();

  int signal_number;
  sigwait(&stop, &signal_number);
  stop_socket();
  return 0;
}
