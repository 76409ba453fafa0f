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
#include <vector>

#include "dispatch/input_event.h"
#include "simulator/settings_file.h"

namespace atd::sim {

using atd::InputEvent;

class Input {
 public:
  explicit Input(const std::string& root);

  // Makes "/dev/input" anew, with an empty file for each device.
  void boot();

  // Answers a device-control request: false when the descriptor is none of an input device, else *result is what the
  // driver returns, with errno when that is -1.
  bool ioctl(int fd, unsigned long request, void* argument, int* result);

  // The whole records written to a device since the boot, oldest first.
  std::vector<InputEvent> events(int device) const;

  // The same as text, one line a record: "type 1 (EV_KEY), code 116 (KEY_POWER), value 1".
  std::string decode(int device) const;

 private:
  static constexpr size_t kKeys = 768, kAxes = 64;

  struct Device {
    std::string name;
    std::bitset<kKeys> keys;
    std::bitset<kAxes> axes;
  };

  void load_locked();
  bool load_line(std::string line, std::string* error);
  std::string path(int device) const;

  std::string folder_;
  std::mutex lock_;
  SettingsFile settings_;
  std::map<int, Device> devices_;
};

}  // namespace atd::sim
