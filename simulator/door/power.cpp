#include <cutils/android_reboot.h>
#include <errno.h>
#include <hardware_legacy/power.h>

#include "simulator/simulated_device.h"

using atd::sim::Call;
using atd::sim::SimulatedDevice;

int android_reboot(unsigned command, int, const char* arg) {
  std::string what;
  switch (command) {
    case ANDROID_RB_RESTART: what = "reboot"; break;
    case ANDROID_RB_POWEROFF: what = "power-off"; break;
    case ANDROID_RB_RESTART2: what = std::string("reboot ") + (arg ? arg : ""); break;
    default: errno = EINVAL; return -1;
  }
  SimulatedDevice& device = SimulatedDevice::current();
  const bool refused = device.faults.hits(Call::android_reboot);
  if (refused) device.power.note("refused " + what);
  if (refused || !device.power.request(what)) {
    errno = EPERM;
    return -1;
  }
  return 0;
}

int acquire_wake_lock(int, const char* id) {
  return SimulatedDevice::current().faults.hits(Call::acquire_wake_lock, id) ? -1 : 0;
}

int release_wake_lock(const char* id) {
  return SimulatedDevice::current().faults.hits(Call::release_wake_lock, id) ? -1 : 0;
}
