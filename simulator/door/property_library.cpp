#include "platform/properties.h"

#include <string.h>

#include <algorithm>

#include "simulator/simulated_device.h"

using atd::sim::Call;
using atd::sim::SimulatedDevice;

int system_property_get(const char* name, char* value) {
  SimulatedDevice& device = SimulatedDevice::current();
  std::string text = device.faults.hits(Call::property_get, name) ? "" : device.properties.get(name);
  memcpy(value, text.c_str(), text.size() + 1);
  return static_cast<int>(text.size());
}

bool system_property_is_set(const char* name) {
  const std::vector<std::string> names = SimulatedDevice::current().properties.names();
  return std::find(names.begin(), names.end(), name) != names.end();
}

int system_property_set(const char* name, const char* value) {
  SimulatedDevice& device = SimulatedDevice::current();
  if (device.faults.hits(Call::property_set, name)) return -1;
  return device.properties.set(name, value ? value : "") ? 0 : -1;
}

int property_get(const char* key, char* value, const char* default_value) {
  int length = system_property_get(key, value);
  if (length > 0 || !default_value) return length;
  size_t size = strnlen(default_value, PROPERTY_VALUE_MAX - 1);
  memcpy(value, default_value, size);
  value[size] = '\0';
  return static_cast<int>(size);
}

int property_set(const char* key, const char* value) { return system_property_set(key, value); }
