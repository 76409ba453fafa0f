#include "simulator/properties.h"

#include <string.h>

#include <sstream>

#include "platform/properties.h"
#include "simulator/files.h"
#include "simulator/simulated_device.h"

namespace atd::sim {

namespace {

bool acceptable(const std::string& name) {
  if (name.empty() || name.front() == '.' || name.back() == '.' || name.find("..") != std::string::npos) return false;
  return name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-@:") ==
             std::string::npos &&
         name.size() < 240;
}

}  // namespace

std::string Properties::file(const std::string& name) const {
  return root_ + (name.starts_with("persist.") ? "/data/property/" : "/dev/__properties__/") + name;
}

std::string Properties::get(const std::string& name) const {
  std::string value;
  if (!acceptable(name) || !read_file(file(name), &value)) return "";
  // A person who edits the file leaves a newline.
  while (!value.empty() && value.back() == '\n') value.pop_back();
  return value.substr(0, PROPERTY_VALUE_MAX - 1);
}

bool Properties::set(const std::string& name, const std::string& value) {
  return !name.starts_with("ro.") && set_at_boot(name, value);
}

bool Properties::set_at_boot(const std::string& name, const std::string& value) {
  return acceptable(name) && value.size() < PROPERTY_VALUE_MAX && write_file(file(name), value);
}

void Properties::boot() {
  empty_folder(root_ + "/dev/__properties__");
  std::string text;
  if (!read_file(root_ + "/system/build.prop", &text)) return;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    size_t equals = line.find('=');
    if (line.starts_with('#') || equals == std::string::npos) continue;
    set_at_boot(line.substr(0, equals), line.substr(equals + 1));
  }
}

}  // namespace atd::sim

using atd::sim::SimulatedDevice;

int system_property_get(const char* name, char* value) {
  SimulatedDevice& device = SimulatedDevice::current();
  std::string text = device.faults.hits("property_get", name) ? "" : device.properties.get(name);
  memcpy(value, text.c_str(), text.size() + 1);
  return static_cast<int>(text.size());
}

int system_property_set(const char* name, const char* value) {
  SimulatedDevice& device = SimulatedDevice::current();
  return !device.faults.hits("property_set", name) && device.properties.set(name, value ? value : "") ? 0 : -1;
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
