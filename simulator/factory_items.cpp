#include "simulator/factory_items.h"

#include <string.h>

#include "platform/ftm_item.h"
#include "simulator/files.h"
#include "simulator/simulated_device.h"

namespace atd::sim {

namespace {

std::string name(unsigned index, size_t length) { return "/" + std::to_string(index) + "-" + std::to_string(length); }

}  // namespace

std::string FactoryItems::get(unsigned index, int length) const {
  std::string value;
  read_file(folder_ + name(index, static_cast<size_t>(length)), &value);
  value.resize(static_cast<size_t>(length));
  return value;
}

bool FactoryItems::set(unsigned index, const std::string& value) {
  return write_file(folder_ + name(index, value.size()), value);
}

bool FactoryItems::set_text(unsigned index, int length, std::string text) {
  text.resize(static_cast<size_t>(length));
  return set(index, text);
}

}  // namespace atd::sim

using atd::sim::SimulatedDevice;

int init_ftm_item(int) { return SimulatedDevice::current().faults.hits("init_ftm_item") ? -1 : 0; }

int get_ftm_item(unsigned index, int length, void* buffer) {
  SimulatedDevice& device = SimulatedDevice::current();
  if (device.faults.hits("get_ftm_item", std::to_string(index)) || length < 0) return -1;
  memcpy(buffer, device.items.get(index, length).data(), static_cast<size_t>(length));
  return 0;
}

int set_ftm_item(unsigned index, int length, const void* buffer) {
  SimulatedDevice& device = SimulatedDevice::current();
  if (device.faults.hits("set_ftm_item", std::to_string(index)) || length < 0) return -1;
  return device.items.set(index, std::string(static_cast<const char*>(buffer), static_cast<size_t>(length))) ? 0 : -1;
}

int get_ftm_multi_item(unsigned index, int length, void* buffer) { return get_ftm_item(index, length, buffer); }
