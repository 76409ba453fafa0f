// The USB port.
#include "simulator/usb.h"

#include <errno.h>
#include <string.h>

#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void show(SimulatedDevice& device, VerbCall& call) {
  const std::string config = device.properties.get("sys.usb.config"), state = device.properties.get("sys.usb.state");
  const std::string lock = device.usb.node("lock"), port = device.usb.node("state");
  call.answer("sys.usb.config " + config + "\nsys.usb.state  " + state + "\nlock           " + lock +
                  "\nport           " + port + "\n",
              {{"config", config}, {"state", state}, {"lock", lock}, {"port", port}});
}

void put(SimulatedDevice& device, VerbCall& call, const char* state) {
  if (!device.usb.set_state(state)) call.fail(kFailed, "cannot write the port's node: " + std::string(strerror(errno)));
  call.afterwards([&device] { device.heed_cable(); });
}

void connect(SimulatedDevice& device, VerbCall& call) { put(device, call, "CONNECTED"); }
void configure(SimulatedDevice& device, VerbCall& call) { put(device, call, "CONFIGURED"); }
void disconnect(SimulatedDevice& device, VerbCall& call) { put(device, call, "DISCONNECTED"); }

void delay(SimulatedDevice& device, VerbCall& call) {
  int milliseconds;
  if (call.delay(0, &milliseconds)) device.usb.set_delay(milliseconds);
}

constexpr Verb kVerbs[] = {
    {"usb", "", "Shows the USB port: its composition, whether it has it yet, its lock, its other end.", show},
    {"usb connect", "", "Puts a host at the USB port.", connect},
    {"usb configure", "", "Has the host configure the port.", configure},
    {"usb disconnect", "", "Has the host go away; \"cable none\" pulls the cable.", disconnect},
    {"usb delay", "MILLISECONDS|never", "Says how long the port takes to get its next composition.", delay},
};

}  // namespace

std::span<const Verb> usb_rows() { return kVerbs; }

}  // namespace atd::sim
