// The daemon on a phone: serves its socket, which init has made, until init tells it to stop. "atd call" calls a
// function of the library instead.
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

#include "atd.h"
#include "daemon/boot.h"
#include "daemon/call_command.h"

namespace {

std::atomic<bool> g_booted{false};

void* boot(void*) {
  atd::boot();
  g_booted = true;
  atd::resume();
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  // init's umask would take the library's folders from everybody else, whatever mode it asks for.
  umask(022);
  // A write to a client that is gone fails; it does not end the daemon, nor a call.
  signal(SIGPIPE, SIG_IGN);
  if (argc > 1 && strcmp(argv[1], "call") == 0) {
    // The library has relative paths, and init starts the daemon there.
    if (chdir("/") != 0) return perror("atd: /"), 1;
    return atd::call_command(argc - 2, argv + 2);
  }
  // SIGTERM is blocked before the first thread starts, so that every thread leaves it to sigwait.
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGTERM);
  sigprocmask(SIG_BLOCK, &stop, nullptr);

  pthread_t booting;
  if (pthread_create(&booting, nullptr, boot, nullptr) != 0) return 1;

  int signal_number;
  sigwait(&stop, &signal_number);
  // A modem that does not answer holds up the boot, and init does not wait for it.
  if (!g_booted) _exit(0);
  stop_socket();
  return 0;
}
