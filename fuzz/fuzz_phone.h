// The phone behind a fuzz target: made once, in memory where the machine has a folder for that, with a virtual clock
// and nothing that can leave it.
#pragma once

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "atd.h"
#include "simulator/files.h"
#include "simulator/simulated_device.h"
#include "transport/at_socket.h"
#include "transport/commands.h"

namespace atd {

class FuzzPhone {
 public:
  FuzzPhone() {
    char memory[] = "/dev/shm/atd-fuzz-XXXXXX", disk[] = "/tmp/atd-fuzz-XXXXXX";
    root_ = mkdtemp(memory) ? memory : mkdtemp(disk);
    std::string error;
    device_ = sim::SimulatedDevice::open(root_, &error);
    if (!device_) {
      fprintf(stderr, "%s\n", error.c_str());
      abort();
    }
    device_->clock.make_virtual();
    device_->syncs_writes = false;
    init_modem_interface(0);
    report("start");
  }
  ~FuzzPhone() {
    report("end");
    device_.reset();
    std::filesystem::remove_all(root_);
  }

  sim::SimulatedDevice* operator->() { return device_.get(); }

  // Ends a run: what it started has ended, and what it left behind does not add up.
  void settle() {
    device_->threads.await_none();
    device_->modem.clear_requests();
    if (++runs_ % 1000 != 0) return;
    device_->logs.clear();
    for (const char* folder : {"/data/property", "/sim/modem", "/sim/items", "/sim/efs"}) {
      sim::empty_folder(root_ + folder);
    }
  }

 private:
  static void report(const char* when) {
    std::ifstream status("/proc/self/status");
    fprintf(stderr, "%s:", when);
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("VmRSS:") || line.starts_with("Threads:")) fprintf(stderr, " %s,", line.c_str());
    }
    fprintf(stderr, " CPU: %.1f s\n", static_cast<double>(clock()) / CLOCKS_PER_SEC);
  }

  std::string root_;
  std::unique_ptr<sim::SimulatedDevice> device_;
  int runs_ = 0;
};

// A listener that is not started: the target calls it as its thread would.
struct FuzzListener : CommandListener {
  using CommandListener::onDataAvailable;
  FuzzListener() {
    g_AtSocket = AtSocket::Instance();
    g_AtSocket->SetListener(this);
    serve_requests();
  }
};

// One connection to it.
class FuzzClient {
 public:
  explicit FuzzClient(FuzzListener& listener) : listener_(listener) {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) abort();
    fd_ = pair[0];
    client_ = new SocketClient(pair[1], true);
  }
  ~FuzzClient() {
    close(fd_);
    while (listener_.onDataAvailable(client_)) {
    }
    client_->decRef();
  }

  // Sends bytes in one write, has them read, and drops what is answered; false once more than the socket holds was
  // answered, which ends the connection.
  bool send(const void* bytes, size_t size) {
    char answers[16384];
    if (::send(fd_, bytes, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size)) return false;
    for (size_t read_so_far = 0; read_so_far < size; read_so_far += kReadBufferSize - 1) {
      if (!listener_.onDataAvailable(client_)) return false;
      while (recv(fd_, answers, sizeof answers, MSG_DONTWAIT) > 0) {
      }
    }
    return true;
  }

 private:
  FuzzListener& listener_;
  int fd_;
  SocketClient* client_;
};

}  // namespace atd
