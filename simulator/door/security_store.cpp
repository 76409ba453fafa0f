#include "platform/security_store.h"

#include "simulator/simulated_device.h"

using atd::sim::SimulatedDevice;

namespace {

void empty(const char* function, const char* folder) {
  SimulatedDevice& device = SimulatedDevice::current();
  device.shell.note(function);
  const std::string place = device.path(folder, atd::sim::Last::itself);
  if (!place.empty()) atd::sim::empty_folder(place);
}

}  // namespace

void app_hash_remove_all() { empty("app_hash_remove_all", "/persist-rz/app_hash"); }

void remove_pki_data() { empty("remove_pki_data", "/persist-rz/pki"); }
