// The USB port. Its composition is the property sys.usb.config, and sys.usb.state follows it as init has it. The node
// "state" below "/sys/class/android_usb/android0" is what is at the port's other end. Safe to use from any thread.
#pragma once

#include <stdint.h>

#include <mutex>
#include <string>

#include "simulator/clock.h"
#include "simulator/property_store.h"

namespace atd::sim {

class Usb {
 public:
  // The clock and the properties are the phone's and outlive the port.
  Usb(const std::string& root, Clock& clock, Properties& properties)
      : root_(root), clock_(clock), properties_(properties) {}

  // Gives the port the composition of a boot: that of build.prop, or "mtp,adb".
  void boot();

  // Lets the state follow a composition after this many milliseconds of the phone's time, -1 for never: what is set
  // from now on.
  void set_delay(int milliseconds);

  // Puts "DISCONNECTED", "CONNECTED" or "CONFIGURED" into the port's node; false with errno when that fails.
  bool set_state(const std::string& state);

  // What the port's nodes "state" and "lock" hold, without line ends; "" for one that cannot be read.
  std::string node(const char* name) const;

  // What the property store calls. The latter returns in how many milliseconds the state will follow, -1 for never.
  void before_read(const std::string& name);
  int after_write(const std::string& name);

 private:
  void ask_for_locked(const std::string& composition);
  std::string path(const char* name) const;

  std::string root_;
  Clock& clock_;
  Properties& properties_;
  std::mutex lock_;
  int delay_ms_ = 5;
  std::string asked_for_;  // the composition that the state follows
  bool pending_ = false;   // the state is still to follow
  uint64_t due_ = 0;       // when it does, in microseconds of the monotonic clock
};

}  // namespace atd::sim
