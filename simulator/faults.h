// Failures on request: every call through the platform boundary that can fail asks here first.
#pragma once

#include <atomic>
#include <list>
#include <mutex>
#include <string>
#include <vector>

#include "simulator/clock.h"

namespace atd::sim {

// The calls, by their names on the device.
enum class Call {
  any,
  init_ftm_item,
  get_ftm_item,
  set_ftm_item,
  dmi_init,
  dmi_release,
  dmi_client_handle_release,
  request_to_modem_via_dmi,
  diagpkt_alloc,
  property_get,
  property_set,
  android_reboot,
  acquire_wake_lock,
  release_wake_lock,
  ioctl,
  system,
  run,
  clock_gettime,
  wait_readable,
  umount2,
  statfs,
  start_thread,
  connect,
  sendmsg,
  fingerprint,
  bluetooth,
  unified_sysfs_read,
  unified_sysfs_write,
  volume,
  selinux_android_restorecon,
};

struct CallName {
  Call call;
  const char* name;
  const char* object;  // what it works on, "" for nothing; an INDEX is an item's, an OPCODE the modem's
};

// Every call by name.
const std::vector<CallName>& call_names();

// The row of a call.
const CallName& call_name(Call call);

// What happens to a call.
struct Fault {
  Call call = Call::any;
  std::string object;  // "" for whatever it works on
  int passes = 0;      // the next calls that are left alone
  int times = -1;      // how many are hit after those, -1 for all
  int late_ms = 0;     // above 0: a call that is hit is late by this much, and does not fail
  bool kills = false;  // a call that is hit kills the process instead
};

// What it hits: "set_ftm_item 13".
std::string name_of(const Fault& fault);

// The fault in words: "set_ftm_item 13: fails", "request_to_modem_via_dmi: 5000 ms late once".
std::string to_text(const Fault& fault);

// The fault as "fault set" takes it: CALL [OBJECT] [nth=N] [times=N] [late=MILLISECONDS] [kill].
std::vector<std::string> to_words(const Fault& fault);

// Reads these words; the sentence that says what is wrong with them, "" when they make a fault.
std::string parse_fault(const std::vector<std::string>& words, Fault* fault);

class Faults {
 public:
  // The clock is the phone's and outlives the faults.
  explicit Faults(Clock& clock) : clock_(clock) {}

  // Adds a fault, which replaces one for the same call and object.
  void set(const Fault& fault);

  // Makes the next `times` uses of a call fail (all of them where none is given): "set_ftm_item", "set_ftm_item 13".
  // Aborts for a name that no call has.
  void fail(const std::string& call, int times = -1);

  // Makes the n-th call from now on fail, whichever it is; 1 is the next one.
  void fail_nth(int n) { set({Call::any, "", n - 1, 1}); }

  // Takes the faults of a call and object back, or all.
  void clear(Call call, const std::string& object);
  void clear();

  // The faults that can still hit a call.
  std::vector<Fault> list() const;

  // The number of boundary calls made so far.
  int calls() const { return calls_; }

  // Counts one call; true when it is to fail. A late one waits here.
  bool hits(Call call, const std::string& object = {});

 private:
  Clock& clock_;
  std::atomic<int> calls_{0};
  std::atomic<bool> armed_{false};
  mutable std::mutex lock_;
  std::list<Fault> faults_;
};

}  // namespace atd::sim
