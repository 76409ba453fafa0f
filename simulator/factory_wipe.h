// Wiping the user's data: by the platform's master clear, and by the deletion service. A wipe follows no link, and does
// not touch the factory items.
#pragma once

#include <stdint.h>

#include <mutex>
#include <string>

#include "simulator/clock.h"
#include "simulator/property_store.h"

namespace atd::sim {

// Empties "/data" or "/cache" below the root; the folder of the "persist." properties is there again, empty. A folder
// that somebody has replaced by a link stays as it is. False, which is logged, when something stays.
bool wipe_data(const std::string& root);
bool wipe_cache(const std::string& root);

// Wipes both. A kill meanwhile leaves a mark, and then `finish_wipe` does it again at the next boot, and returns true.
void wipe_phone(const std::string& root);
bool finish_wipe(const std::string& root);

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

  // What the property store calls. The latter returns in how many milliseconds the service will be done, -1 for never.
  void before_read(const std::string& name);
  int after_write(const std::string& name);

 private:
  void start_locked();

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
