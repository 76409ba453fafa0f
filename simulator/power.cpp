#include "simulator/power.h"

#include <cutils/android_reboot.h>
#include <errno.h>
#include <hardware_legacy/power.h>

#include <sstream>

#include "simulator/files.h"
#include "simulator/simulated_device.h"

namespace atd::sim {

void Power::shut() {
  std::lock_guard guard(lock_);
  shut_ = true;
}

bool Power::request(const std::string& what) {
  bool allowed;
  {
    std::lock_guard guard(lock_);
    if (shut_) return false;
    allowed = static_cast<bool>(ended_);
    std::string text;
    read_file(file_, &text);
    write_file(file_, text + (allowed ? "" : "refused ") + what + "\n");
  }
  if (allowed) ended_(what);
  return allowed;
}

std::vector<std::string> Power::history() const {
  std::lock_guard guard(lock_);
  std::string text;
  read_file(file_, &text);
  std::vector<std::string> result;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) result.push_back(line);
  return result;
}

}  // namespace atd::sim

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
  if (device.faults.hits("android_reboot") || !device.power.request(what)) {
    errno = EPERM;
    return -1;
  }
  return 0;
}

int acquire_wake_lock(int, const char* id) {
  return SimulatedDevice::current().faults.hits("acquire_wake_lock", id) ? -1 : 0;
}

int release_wake_lock(const char* id) {
  return SimulatedDevice::current().faults.hits("release_wake_lock", id) ? -1 : 0;
}
