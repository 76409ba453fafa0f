#include "platform/ftm_item.h"

#include <string.h>

#include "simulator/simulated_device.h"

using atd::sim::SimulatedDevice;

int init_ftm_item(int) { return SimulatedDevice::current().faults.hits("init_ftm_item") ? -1 : 0; }

int get_ftm_item(unsigned index, int length, void* buffer) {
  SimulatedDevice& device = SimulatedDevice::current();
  if (device.faults.hits("get_ftm_item", std::to_string(index)) || length < 0) return -1;
  std::string value;
  if (!device.items.read(index, length, &value)) return -1;
  memcpy(buffer, value.data(), value.size());
  return 0;
}

int set_ftm_item(unsigned index, int length, const void* buffer) {
  SimulatedDevice& device = SimulatedDevice::current();
  if (device.faults.hits("set_ftm_item", std::to_string(index)) || length < 0) return -1;
  return device.items.set(index, std::string(static_cast<const char*>(buffer), static_cast<size_t>(length))) ? 0 : -1;
}

int get_ftm_multi_item(unsigned index, int length, void* buffer) { return get_ftm_item(index, length, buffer); }
