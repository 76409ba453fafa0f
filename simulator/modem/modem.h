// The modem behind the vendor's request interface: rows of "sim/modem.conf", then stateful built-in items, then a file
// system; and every way in which it can fail. Safe to use from any thread.
#pragma once

#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "simulator/clock.h"
#include "simulator/faults.h"
#include "simulator/modem/efs.h"
#include "simulator/modem/items.h"
#include "simulator/modem/rows.h"
#include "platform/records.h"

namespace atd::sim {

struct ModemRequest {
  int opcode;
  std::string payload;
  bool operator==(const ModemRequest&) const = default;
};

class Modem {
 public:
  // The switch, the clock and the faults are the phone's and outlive the modem.
  Modem(const std::string& root, const std::atomic<bool>& syncs, Clock& clock, Faults& faults)
      : clock_(clock), faults_(faults), rows_(root), items_(root, syncs), efs_(root, syncs) {}

  // Starts the modem anew, as a reboot of the phone does: the interface is closed, open files are lost.
  void boot();

  // Makes the n-th request from now on fail; 1 is the next one, 0 makes none fail.
  void fail_request(int nth);

  // Makes the next `times` openings of the interface fail.
  void fail_init(int times);

  // Makes every request fail until the interface is opened again, also one that waits for its answer; open files are
  // lost.
  void lose_connection();

  // Answers every request this much later, in milliseconds of the phone's time.
  void set_delay(int milliseconds);

  // Answers an opcode with this data from now on, before rows and items. Of data beyond 2048 bytes the answer carries
  // the first 2048, and a length that promises all of it.
  void set_answer(int opcode, const std::string& data, int status = 0);

  // Answers an opcode with this very record from now on; whatever it says, the request counts as sent and answered.
  void set_raw_answer(int opcode, const rzcmd_response& response);

  // Takes back what the two above have set.
  void clear_answers();

  // The last 10000 requests that were handed over, oldest first, answered or not.
  std::vector<ModemRequest> requests() const;
  void clear_requests();

  // These do the work of the functions of platform/modem_interface.h, and have their contracts.
  int init();
  int release();
  int release_handle();
  int request(const rzcmd_request& request, rzcmd_response* response);

 private:
  void disconnect_locked();
  void restart_locked();
  std::optional<rzcmd_response> prepared_locked(int opcode);

  Clock& clock_;
  Faults& faults_;
  mutable std::mutex lock_;
  ModemRows rows_;
  ModemItems items_;
  ModemEfs efs_;
  bool connected_ = false;
  int connections_ = 0;  // the number of the present one
  int fail_in_ = 0;      // requests until one fails, counting it
  int fail_inits_ = 0;
  int delay_ms_ = 0;
  std::map<int, rzcmd_response> prepared_;
  std::deque<ModemRequest> requests_;
};

}  // namespace atd::sim
