// Wiping the user's data: by the platform's master clear, and by the deletion service. A wipe follows no link, and does
// not touch the factory items.
#pragma once

#include <stdint.h>

#include <mutex>
#include <string>

#include "simulator/clock.h"
#include "simulator/property_store.h"

namespace atd::sim {

// Empties "/data" and "/cache" below the root; the folder of the "persist." properties stays, empty. A folder that
// somebody has replaced by a link stays as it is.
void wipe_data(const std::string& root);
void wipe_cache(const std::string& root);

// The service that the property "sys.tav.factory_delete" starts: set to "1" it empties "/data" and becomes "0". Safe to
// use from any thread.
class DeletionService {
 public:
  // The clock and the properties are the phone's and outlive the service.
  DeletionService(const std::string& root, Clock& clock, Properties& properties)
      : root_(root), clock_(clock), properties_(properties) {}

  // Forgets a run that a reboot has ended.
  void boot();

  // Has the service take this many milliseconds of the phone's time, -1 for ever: those that start from now on.
  void set_delay(int milliseconds);

  // Whether the service deletes anything; one that does not is done all the same.
  void set_deletes(bool deletes);

  int delay() const;
  bool deletes() const;

  // What the property store calls.
  void before_read(const std::string& name);
  void after_write(const std::string& name);

 private:
  uint64_t now();

  const std::string root_;
  Clock& clock_;
  Properties& properties_;
  mutable std::mutex lock_;
  int delay_ms_ = 1000;
  bool deletes_ = true;
  bool running_ = false;
  uint64_t end_ = 0;  // in microseconds of the monotonic clock
};

}  // namespace atd::sim
