#include "platform/ftm_item.h"

#include <android/log.h>
#include <errno.h>
#include <string.h>

#include "simulator/simulated_device.h"

using atd::sim::Call;
using atd::sim::SimulatedDevice;

namespace {

int fail(unsigned index, const char* what, const char* reason) {
  __android_log_print(ANDROID_LOG_ERROR, "ftm", "item %u cannot be %s: %s", index, what, reason);
  return -1;
}

}  // namespace

int init_ftm_item(int) { return SimulatedDevice::current().faults.hits(Call::init_ftm_item) ? -1 : 0; }

int get_ftm_item(unsigned index, int length, void* buffer) {
  SimulatedDevice& device = SimulatedDevice::current();
  if (device.faults.hits(Call::get_ftm_item, std::to_string(index))) return fail(index, "read", "a fault is set");
  if (length < 0) return fail(index, "read", "its length is negative");
  std::string value;
  if (!device.items.read(index, length, &value)) return fail(index, "read", strerror(errno));
  memcpy(buffer, value.data(), value.size());
  return 0;
}

int set_ftm_item(unsigned index, int length, const void* buffer) {
  SimulatedDevice& device = SimulatedDevice::current();
  if (device.faults.hits(Call::set_ftm_item, std::to_string(index))) return fail(index, "written", "a fault is set");
  if (length < 0) return fail(index, "written", "its length is negative");
  const std::string value(static_cast<const char*>(buffer), static_cast<size_t>(length));
  return device.items.set(index, value) ? 0 : fail(index, "written", strerror(errno));
}

int get_ftm_multi_item(unsigned index, int length, void* buffer) { return get_ftm_item(index, length, buffer); }
