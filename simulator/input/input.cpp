#include "simulator/input/input.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <linux/input.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "desk/words.h"
#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr int kLastDevice = 31;
constexpr off_t kFileMax = 1024 * 1024;  // of a device's records; then the file begins anew

constexpr const char* kStandard =
    "# The simulated phone's input devices. Edit this file while the phone runs: the next look at a device sees it.\n"
    "#\n"
    "#   eventN name TEXT     what the device calls itself\n"
    "#   eventN key CODE...   keys that it has: a number, a range such as 2-11, or a name such as KEY_POWER\n"
    "#   eventN axis CODE...  absolute axes that it has, written in the same way\n"
    "#\n"
    "# Several lines about one device add up. A line that makes no sense is left out and named in the main log.\n"
    "event0 name power and volume keys\n"
    "event0 key KEY_POWER KEY_VOLUMEUP KEY_VOLUMEDOWN\n"
    "event1 name touch panel\n"
    "event1 key BTN_TOUCH BTN_TOOL_FINGER\n"
    "event1 axis ABS_MT_POSITION_X ABS_MT_POSITION_Y ABS_MT_TOUCH_MAJOR ABS_MT_PRESSURE\n"
    "event1 axis ABS_MT_TRACKING_ID ABS_MT_SLOT\n"
    "event2 name keypad\n"
    "event2 key KEY_1 KEY_2 KEY_3 KEY_4 KEY_5 KEY_6 KEY_7 KEY_8 KEY_9 KEY_0 KEY_NUMERIC_STAR KEY_NUMERIC_POUND\n"
    "event2 key KEY_HOME KEY_BACK KEY_MENU KEY_PHONE KEY_CAMERA KEY_UP KEY_DOWN KEY_LEFT KEY_RIGHT KEY_ENTER\n";

// Sets the bit of a code, "53" or "ABS_MT_POSITION_X", or those of a range.
template <size_t size>
bool set_codes(std::string_view word, unsigned type, std::bitset<size>* bits) {
  const size_t dash = word.find('-');
  const int last = static_cast<int>(size) - 1;
  const int named = libevdev_event_code_from_name_n(type, word.data(), word.size());
  int from = named, to = named;
  if (named < 0) {
    if (!read_number(word.substr(0, dash), 0, last, &from)) return false;
    if (dash == word.npos) to = from;
    else if (!read_number(word.substr(dash + 1), from, last, &to)) return false;
  }
  if (to > last) return false;
  for (int code = from; code <= to; ++code) bits->set(static_cast<size_t>(code));
  return true;
}

// Copies what the caller has room for, as the kernel does; the number of bytes.
int give(const std::string& bytes, unsigned long request, void* argument) {
  const size_t length = std::min<size_t>(bytes.size(), _IOC_SIZE(request));
  memcpy(argument, bytes.data(), length);
  return static_cast<int>(length);
}

template <size_t size>
std::string bytes_of(const std::bitset<size>& bits) {
  std::string bytes(size / 8, '\0');
  for (size_t i = 0; i < size; ++i) {
    if (bits[i]) bytes[i / 8] = static_cast<char>(bytes[i / 8] | 1 << (i % 8));
  }
  return bytes;
}

}  // namespace

Input::Input(const std::string& root)
    : folder_(root + "/dev/input/"), settings_(root, "sim/input.conf", "input", kStandard) {}

std::string Input::path(int device) const { return folder_ + "event" + std::to_string(device); }

void Input::boot() {
  std::lock_guard guard(lock_);
  make_folders(folder_);
  empty_folder(folder_);
  settings_.forget();
  load_locked();
}

void Input::load_locked() {
  std::vector<SettingsLine> lines;
  if (!settings_.changed(&lines)) return;
  devices_.clear();
  for (const SettingsLine& line : lines) {
    std::string error;
    if (!load_line(line.text, &devices_, &error)) settings_.report(line.number, error);
  }
  for (const auto& [number, device] : devices_) {
    const int fd = open(path(number).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0660);
    if (fd >= 0) close(fd);
    else __android_log_print(ANDROID_LOG_ERROR, "input", "cannot make event%d: %s", number, strerror(errno));
  }
}

std::string Input::wrong(const std::string& line) {
  std::map<int, Device> devices;
  std::string error;
  return load_line(line, &devices, &error) ? "" : error;
}

bool Input::load_line(std::string_view line, std::map<int, Device>* devices, std::string* error) {
  const std::string device(take_word(&line)), what(take_word(&line));
  int number;
  if (!device.starts_with("event") || !read_number(device.substr(5), 0, kLastDevice, &number)) {
    *error = "'" + device + "' is not a device: write event0 to event31";
    return false;
  }
  if (what == "name") {
    skip_spaces(&line);
    (*devices)[number].name = line;
    return true;
  }
  if (what != "key" && what != "axis") {
    *error = "'" + what + "' after the device: write name, key or axis";
    return false;
  }
  Device& target = (*devices)[number];
  for (std::string_view word; !(word = take_word(&line)).empty();) {
    if (what == "key" ? set_codes(word, EV_KEY, &target.keys) : set_codes(word, EV_ABS, &target.axes)) continue;
    *error = "'" + std::string(word) + "' is not a code of a" + (what == "key" ? " key" : "n axis") +
             ": write a number from 0 to " + std::to_string((what == "key" ? kKeys : kAxes) - 1) +
             ", a range such as 2-11, or a name such as " + (what == "key" ? "KEY_POWER" : "ABS_MT_POSITION_X");
    return false;
  }
  return true;
}

bool Input::ioctl(int fd, unsigned long request, void* argument, int* result) {
  struct stat asked;
  if (fstat(fd, &asked) != 0) return false;
  std::lock_guard guard(lock_);
  load_locked();
  const auto found = std::find_if(devices_.begin(), devices_.end(), [&](const auto& entry) {
    struct stat file;
    return stat(path(entry.first).c_str(), &file) == 0 && file.st_dev == asked.st_dev && file.st_ino == asked.st_ino;
  });
  if (found == devices_.end()) return false;
  const Device& device = found->second;
  *result = -1;
  if (_IOC_TYPE(request) != 'E' || _IOC_DIR(request) != _IOC_READ) {
    errno = ENOTTY;
    return true;
  }
  switch (_IOC_NR(request)) {
    case _IOC_NR(EVIOCGNAME(0)): *result = give(device.name + '\0', request, argument); break;
    case _IOC_NR(EVIOCGBIT(EV_KEY, 0)): *result = give(bytes_of(device.keys), request, argument); break;
    case _IOC_NR(EVIOCGBIT(EV_ABS, 0)): *result = give(bytes_of(device.axes), request, argument); break;
    default: errno = EINVAL; return true;
  }
  if (asked.st_size >= kFileMax && ftruncate(fd, 0) != 0) return true;
  // A device takes every record; in a file, each writer that opens it would overwrite the records from the start. A
  // writer asks for a device's capabilities first, so this has it append from then on.
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_APPEND);
  return true;
}

std::vector<InputEvent> Input::events(int device) const {
  std::string bytes;
  read_file(path(device), &bytes);
  std::vector<InputEvent> result(bytes.size() / sizeof(InputEvent));
  if (!result.empty()) memcpy(result.data(), bytes.data(), result.size() * sizeof(InputEvent));
  return result;
}

std::string Input::decode(int device) const {
  std::string text;
  for (const InputEvent& event : events(device)) {
    if (event.type == EV_SYN && event.code == SYN_REPORT) {
      text += "-------------- SYN_REPORT ------------\n";
      continue;
    }
    auto named = [](unsigned number, const char* name) {
      return std::to_string(number) + " (" + (name ? name : "?") + ")";
    };
    text += "type " + named(event.type, libevdev_event_type_get_name(event.type)) + ", code " +
            named(event.code, libevdev_event_code_get_name(event.type, event.code)) + ", value " +
            std::to_string(event.value) + "\n";
  }
  return text;
}

}  // namespace atd::sim
