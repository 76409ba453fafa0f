#include "simulator/usb.h"

#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr char kConfig[] = "sys.usb.config";
constexpr char kState[] = "sys.usb.state";

}  // namespace

std::string Usb::path(const char* name) const {
  return resolve(root_, std::string("/sys/class/android_usb/android0/") + name);
}

void Usb::boot() {
  std::string composition = properties_.get(kConfig);
  if (composition.empty()) composition = "mtp,adb";
  properties_.set_at_boot(kConfig, composition);
  std::lock_guard guard(lock_);
  asked_for_ = composition;
  pending_ = false;
  properties_.set_at_boot(kState, composition);
}

void Usb::set_delay(int milliseconds) {
  std::lock_guard guard(lock_);
  delay_ms_ = milliseconds;
}

bool Usb::set_state(const std::string& state) { return write_file(path("state"), state + "\n"); }

std::string Usb::node(const char* name) const {
  std::string text;
  read_file(path(name), &text);
  return text.substr(0, text.find('\n'));
}

void Usb::before_read(const std::string& name) {
  if (name != kState) return;
  std::lock_guard guard(lock_);
  const std::string config = properties_.get(kConfig);
  // One that the tool "setprop" has set is new only now.
  if (config != asked_for_) ask_for_locked(config);
  if (!pending_ || clock_.now() < due_) return;
  pending_ = false;
  properties_.set_at_boot(kState, config);
}

int Usb::after_write(const std::string& name) {
  if (name != kConfig) return -1;
  int delay;
  {
    std::lock_guard guard(lock_);
    ask_for_locked(properties_.get(kConfig));
    delay = delay_ms_;
  }
  before_read(kState);
  return delay;
}

void Usb::ask_for_locked(const std::string& composition) {
  asked_for_ = composition;
  pending_ = delay_ms_ >= 0;
  due_ = clock_.now() + static_cast<uint64_t>(delay_ms_) * 1000;
}

}  // namespace atd::sim
