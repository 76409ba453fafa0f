#include "simulator/property_store.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "simulator/files.h"

namespace atd::sim {

namespace {

bool acceptable(const std::string& name) {
  if (name.empty() || name.front() == '.' || name.back() == '.' || name.find("..") != std::string::npos) return false;
  return name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-@:") ==
             std::string::npos &&
         name.size() < 240;
}

bool is_persistent(const std::string& name) { return name.starts_with("persist."); }

}  // namespace

std::string wrong_property(const std::string& name, const std::string& value) {
  if (!acceptable(name)) return "no property can be called \"" + name + "\"";
  if (value.size() >= PROPERTY_VALUE_MAX) return name + ": a value has at most 91 bytes";
  return value.find('\0') == value.npos ? "" : name + ": a value has no NUL";
}

std::map<std::string, std::string> build_properties(const std::string& root) {
  std::map<std::string, std::string> properties;
  std::string text;
  read_file(root + "/system/build.prop", &text);
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const size_t equals = line.find('=');
    if (!line.starts_with('#') && equals != std::string::npos) {
      properties[line.substr(0, equals)] = line.substr(equals + 1);
    }
  }
  return properties;
}

std::string Properties::file(const std::string& name) const {
  return root_ + (is_persistent(name) ? "/data/property/" : "/dev/__properties__/") + name;
}

std::string Properties::get(const std::string& name) const {
  std::string value;
  if (!acceptable(name)) return "";
  read_(name);
  if (!read_file(file(name), &value)) return "";
  // A person who edits the file leaves a newline.
  while (!value.empty() && value.back() == '\n') value.pop_back();
  return value.substr(0, PROPERTY_VALUE_MAX - 1);
}

std::vector<std::string> Properties::names() const {
  std::vector<std::string> names;
  for (const char* folder : {"/data/property", "/dev/__properties__"}) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(root_ + folder, error)) {
      const std::string name = entry.path().filename();
      if (acceptable(name)) names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool Properties::set(const std::string& name, const std::string& value) {
  if (!name.starts_with("ro.")) return set_at_boot(name, value);
  errno = EINVAL;
  return false;
}

bool Properties::set_at_boot(const std::string& name, const std::string& value) {
  if (!wrong_property(name, value).empty()) {
    errno = EINVAL;
    return false;
  }
  if (write_file(file(name), value, syncs_ && is_persistent(name))) {
    written_(name);
    return true;
  }
  const int error = errno;
  __android_log_print(ANDROID_LOG_ERROR, "property", "%s cannot be written: %s", name.c_str(), strerror(error));
  errno = error;
  return false;
}

void Properties::remove(const std::string& name) {
  if (acceptable(name)) unlink(file(name).c_str());
}

void Properties::boot() {
  empty_folder(root_ + "/dev/__properties__");
  for (const auto& [name, value] : build_properties(root_)) set_at_boot(name, value);
}

}  // namespace atd::sim
