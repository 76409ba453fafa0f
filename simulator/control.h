// The control socket of a running phone, "sim/control" in its folder: it takes a person's verbs (desk/control.h).
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "desk/control.h"

namespace atd::sim {

class SimulatedDevice;

class Control {
 public:
  // Binds the phone's control socket: from now on callers may come, and wait. Null with the reason in *error when it
  // cannot be bound.
  static std::unique_ptr<Control> bind(SimulatedDevice& device, std::string* error);

  // Answers callers from now on, on threads of its own.
  void start();

  // Hangs up, and waits for the verbs that run.
  ~Control();

  // Takes no further verbs. A caller whose verb runs gets no reply but the last.
  void hang_up();

 private:
  struct Caller {
    int fd;  // -1 when the caller has been answered
    std::thread thread;
  };

  Control(SimulatedDevice& device, std::string path, int fd);
  void accept_callers();
  void answer(Caller& caller);
  void start_locked(int fd);
  void join_done_locked();

  SimulatedDevice& device_;
  std::string path_;
  int fd_;
  std::mutex lock_;
  std::condition_variable answered_;
  std::list<Caller> callers_;
  std::atomic<bool> hung_up_{false};
  std::thread acceptor_;
};

// Runs the verb of a request and hands every reply to `send`, which says whether the caller is still there.
void run_verb(SimulatedDevice& device, const ControlRequest& request,
              const std::function<bool(const ControlReply& reply)>& send);

}  // namespace atd::sim
