// The phone's input devices: ordinary files "/dev/input/event<n>", which collect what is written to them. What each can
// do stands in "sim/input.conf", which a person may edit while the phone runs.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <bitset>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/input_event.h"
#include "simulator/settings_file.h"

namespace atd {

inline bool operator==(const InputEvent& a, const InputEvent& b) {
  return a.seconds == b.seconds && a.microseconds == b.microseconds && a.type == b.type && a.code == b.code &&
         a.value == b.value;
}

}  // namespace atd

namespace atd::sim {

class Input {
 public:
  explicit Input(const std::string& root);

  // What is wrong with a line of "sim/input.conf", "" when it makes sense.
  static std::string wrong(const std::string& line);

  // Makes "/dev/input" anew, with an empty file for each device.
  void boot();

  // Answers a device-control request: false when the descriptor is not one of an input device, else *result is what the
  // driver returns, with errno when that is -1.
  bool ioctl(int fd, unsigned long request, void* argument, int* result);

  // The whole records written to a device since the boot, oldest first. A device that has a megabyte of them forgets
  // them before the next one.
  std::vector<InputEvent> events(int device) const;

  // The same as text, a line for each record: "type 1 (EV_KEY), code 116 (KEY_POWER), value 1".
  std::string decode(int device) const;

 private:
  static constexpr size_t kKeys = 768, kAxes = 64;

  struct Device {
    std::string name;
    std::bitset<kKeys> keys;
    std::bitset<kAxes> axes;
  };

  void load_locked();
  static bool load_line(std::string_view line, std::map<int, Device>* devices, std::string* error);
  std::string path(int device) const;

  std::string folder_;
  std::mutex lock_;
  SettingsFile settings_;
  std::map<int, Device> devices_;
};

}  // namespace atd::sim
