// The phone's properties.
#include "simulator/property_store.h"

#include <errno.h>
#include <string.h>

#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void property(SimulatedDevice& device, VerbCall& call) {
  if (call.count() == 2) {
    // A person may set what a process of the phone may not.
    if (!device.properties.set_at_boot(call[0], call[1])) {
      const bool refused = errno == EINVAL;
      call.fail(refused ? kUsage : kFailed,
                "cannot set \"" + call[0] + "\": " +
                    (refused ? "a name has letters, digits and ._-@:, a value at most 91 bytes" : strerror(errno)));
    }
    return;
  }
  if (call.count() == 1) {
    const std::string value = device.properties.get(call[0]);
    call.answer(value + "\n", {{"name", call[0]}, {"value", value}});
    return;
  }
  std::string text;
  Json json = Json::object();
  for (const std::string& name : device.properties.names()) {
    const std::string value = device.properties.get(name);
    text += "[" + name + "]: [" + value + "]\n";
    json[name] = value;
  }
  call.answer(text, json);
}

constexpr Verb kVerbs[] = {
    {"property", "[NAME [VALUE]]",
     "Shows every property, or one, or sets it; a read-only one (\"ro.\") until the next boot.", property,
     Masks::whole_list},
};

}  // namespace

std::span<const Verb> property_rows() { return kVerbs; }

}  // namespace atd::sim
