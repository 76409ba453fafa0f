// The Bluetooth controller and its test modes. It forgets its state at a boot. Safe to use from any thread.
#pragma once

#include <stdint.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "simulator/clock.h"

namespace atd::sim {

class Bluetooth {
 public:
  enum class Test { none, sending, receiving };

  struct State {
    std::optional<int> dut;  // the loopback path of the device-under-test mode, 0 for none
    bool low_energy = false;
    Test test = Test::none;
    int channel = 0;
    uint64_t start = 0;  // of the test, in microseconds of the monotonic clock
  };

  // What the controller says to what it does not do.
  static constexpr int kRefused = -1;

  // The clock is the phone's and outlives the controller.
  explicit Bluetooth(Clock& clock) : clock_(clock) {}

  State state() const;

  // Ends tests and modes, as a controller does that is reset.
  void lose();

  // How many packets a second a receiver test counts; 1600 at first.
  void set_rate(int packets);
  int rate() const;

  // Has a function of the test library answer this and do nothing, or do its work again. `answers` tells those that do
  // nothing.
  void set_answer(const std::string& function, std::optional<int> answer);
  std::optional<int> answer(const std::string& function) const;
  std::map<std::string, int> answers() const;

  // The names of these functions.
  static const std::vector<std::string>& functions();

  // The work of the functions, whose contracts they have.
  int enter_dut(int index);
  int exit_dut();
  int enable(bool on);
  int send(int channel, int length, int pattern);
  int receive(int channel);
  int end(Test test, unsigned* count);

  // Carries out a Low Energy command of a host controller interface and returns the event that answers it; "" for what
  // is too short for one.
  std::string run(const std::string& command);

 private:
  int start(Test test, int channel);

  Clock& clock_;
  mutable std::mutex lock_;
  State state_;
  int rate_ = 1600;
  std::map<std::string, int> answers_;
};

}  // namespace atd::sim
