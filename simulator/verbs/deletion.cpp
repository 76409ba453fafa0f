// The service that deletes the user's data.
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void show(SimulatedDevice& device, VerbCall& call) {
  const int delay = device.deletion_service.delay();
  const bool deletes = device.deletion_service.deletes();
  call.answer((delay < 0 ? "never ends" : "takes " + std::to_string(delay) + " ms") +
                  (deletes ? ", empties data/\n" : ", deletes nothing\n"),
              {{"delay_ms", delay}, {"deletes", deletes}});
}

void delay(SimulatedDevice& device, VerbCall& call) {
  int milliseconds;
  if (call.delay(0, &milliseconds)) device.deletion_service.set_delay(milliseconds);
}

void idle(SimulatedDevice& device, VerbCall&) { device.deletion_service.set_deletes(false); }
void works(SimulatedDevice& device, VerbCall&) { device.deletion_service.set_deletes(true); }

constexpr Verb kVerbs[] = {
    {"deletion", "", "Shows the service that the property sys.tav.factory_delete starts.", show},
    {"deletion delay", "MILLISECONDS|never", "Says how long the service takes from its next start on.", delay},
    {"deletion idle", "", "Has the service end without deleting anything.", idle},
    {"deletion works", "", "Has the service empty data/ again.", works},
};

}  // namespace

std::span<const Verb> deletion_rows() { return kVerbs; }

}  // namespace atd::sim
