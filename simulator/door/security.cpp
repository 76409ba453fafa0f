#include "platform/security.h"

#include <errno.h>
#include <unistd.h>

#include <string>

#include "simulator/simulated_device.h"

using atd::sim::SimulatedDevice;

int selinux_android_restorecon(const char* path, unsigned flags) {
  SimulatedDevice& device = SimulatedDevice::current();
  if (device.faults.hits(atd::sim::Call::selinux_android_restorecon, path)) return errno = EPERM, -1;
  device.shell.note("restorecon " + std::string(path) + " " + std::to_string(flags));
  return access(device.path(path).c_str(), F_OK);
}
