#include "platform/modem_interface.h"

#include "simulator/simulated_device.h"

using atd::sim::SimulatedDevice;

int dmi_init(int) { return SimulatedDevice::current().modem.init(); }

int dmi_release(int) { return SimulatedDevice::current().modem.release(); }

int dmi_client_handle_release(int) { return SimulatedDevice::current().modem.release_handle(); }

int request_to_modem_via_dmi(struct rzcmd_request* request, struct rzcmd_response* response) {
  return SimulatedDevice::current().modem.request(*request, response);
}
