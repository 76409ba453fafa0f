#include "simulator/factory_items.h"

#include <errno.h>
#include <string.h>

#include "platform/ftm_item.h"
#include "simulator/files.h"
#include "simulator/simulated_device.h"

namespace atd::sim {

namespace {

std::string name(unsigned index, size_t length) { return "/" + std::to_string(index) + "-" + std::to_string(length); }

}  // namespace

bool FactoryItems::read(unsigned index, int length, std::string* value) const {
  bool done = read_file(folder_ + name(index, static_cast<size_t>(length)), value) || errno == ENOENT;
  value->resize(static_cast<size_t>(length));
  return done;
}

std::string FactoryItems::get(unsigned index, int length) const {
  std::string value;
  read(index, length, &value);
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
