// System properties, one file each: "persist.*" below "/data/property" survives a reboot, "ro.*" comes from
// "/system/build.prop" at boot and stays, the rest lives below "/dev/__properties__" until the next boot.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace atd::sim {

// The properties that "/system/build.prop" sets.
std::map<std::string, std::string> build_properties(const std::string& root);

// Why there can be no such property, as a sentence; "" where there can.
std::string wrong_property(const std::string& name, const std::string& value);

class Properties {
 public:
  // `syncs` is the phone's switch and outlives the store.
  Properties(const std::string& root, const std::atomic<bool>& syncs) : root_(root), syncs_(syncs) {}

  // Has these called before a property is read, and after one was set. Before any other thread uses the store.
  void watch(std::function<void(const std::string& name)> read, std::function<void(const std::string& name)> written) {
    read_ = std::move(read);
    written_ = std::move(written);
  }

  // The value, "" when it is not set.
  std::string get(const std::string& name) const;

  // The names of those that are set, sorted.
  std::vector<std::string> names() const;

  // Sets a property as a process of the phone would, whole or not at all; a "persist." one is on the medium when this
  // returns. False with EINVAL when the name or the value (at most 91 bytes) is not acceptable or the property is
  // read-only; false with another errno, and logged, when it cannot be written.
  bool set(const std::string& name, const std::string& value);

  // Sets any property, read-only ones too: what the boot loader and init do.
  bool set_at_boot(const std::string& name, const std::string& value);

  // Forgets a property that init or a daemon has set.
  void remove(const std::string& name);

  // Forgets what a reboot forgets and reads "/system/build.prop" again.
  void boot();

 private:
  std::string file(const std::string& name) const;

  std::string root_;
  const std::atomic<bool>& syncs_;
  std::function<void(const std::string& name)> read_ = [](const std::string&) {};
  std::function<void(const std::string& name)> written_ = [](const std::string&) {};
};

}  // namespace atd::sim
