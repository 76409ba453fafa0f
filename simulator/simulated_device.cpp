#include "simulator/simulated_device.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

#include "desk/control.h"
#include "desk/words.h"
#include "simulator/files.h"
#include "simulator/nodes.h"

namespace atd::sim {

namespace fs = std::filesystem;

namespace {

std::atomic<SimulatedDevice*> g_current;

// The phone's own. No link leads there, and those of kPlainFolders hold files and folders alone.
constexpr const char* kOwnFolders[] = {
    "/sim/items", "/sim/modem", "/sim/efs",    "/data/property", "/dev/__properties__",
    "/dev/input", "/dev/log",   "/dev/socket", "/system/bin",    "/sim/cards",
};
constexpr const char* kPlainFolders[] = {"/sim", "/data/property"};

// The library's. A link of the phone may lead there.
constexpr const char* kFolders[] = {
    "/data/factory", "/dev/block/bootdevice/by-name", "/sys", "/proc", "/cache/recovery", "/storage",
    "/system/etc",   "/persist-rz/wdctime",
};

constexpr const char* kBuildProperties =
    "# Read at every boot; edit it to make this phone another one.\n"
    "ro.factorytest=0\n"
    "ro.minios.enable=0\n"
    "ro.bootmode=normal\n"
    "ro.model.name=SIM-1\n"
    "ro.build.version.release=8.0.0\n"
    "ro.build.date=Thu Jan  1 00:00:00 UTC 2026\n"
    "ro.tav.factoryversion=SIM1-V10a\n"
    "ro.tav.swversion=SIM1-V10a\n"
    "ro.tav.swversion_short=V10a\n"
    "ro.tav.swversion_rev=00\n"
    "dev.bootcomplete=1\n";

void fail(std::string* error, const std::string& what) { *error = what + ": " + strerror(errno); }

// Makes the phone's folders; false with the reason when one cannot be made, or somebody has planted a link or a pipe
// in the phone's own.
bool make_phone(const std::string& base, std::string* error) {
  for (const char* folder : kOwnFolders) {
    // From the top, so that the reason names the culprit.
    for (const char* end = folder; *end;) {
      end += strcspn(end + 1, "/") + 1;
      const std::string path = base + std::string(folder, end);
      std::error_code ignored;
      const fs::file_type type = fs::symlink_status(path, ignored).type();
      if (type == fs::file_type::directory || type == fs::file_type::not_found) continue;
      return *error = path + ": the phone wants a folder here, not a link or a file", false;
    }
    if (!make_folders(base + folder)) return fail(error, base + folder), false;
  }
  for (const char* folder : kPlainFolders) {
    std::error_code failed, ignored;
    // A loop over the range would throw at a folder that cannot be read.
    fs::recursive_directory_iterator entry(base + folder, failed);
    for (; !failed && entry != fs::recursive_directory_iterator(); entry.increment(failed)) {
      const fs::file_type type = entry->symlink_status(ignored).type();
      // What is on a card may be anything.
      if (entry.depth() == 2 && entry->path().filename() == "files" &&
          entry->path().parent_path().parent_path() == base + "/sim/cards") {
        entry.disable_recursion_pending();
      }
      if (type == fs::file_type::regular || type == fs::file_type::directory || type == fs::file_type::not_found)
        continue;
      if (type == fs::file_type::socket && entry->path() == base + kControlSocket) continue;
      return *error = entry->path().string() + ": neither a file nor a folder", false;
    }
    if (failed) return *error = base + folder + ": " + failed.message(), false;
  }
  for (const char* folder : kFolders) {
    const std::string path = resolve(base, folder);
    if (path.empty() || !make_folders(path)) return fail(error, base + folder), false;
  }
  const std::string build_prop = base + "/system/build.prop";
  std::string properties;
  if (!read_file(build_prop, &properties) && (errno != ENOENT || !write_file(build_prop, kBuildProperties))) {
    return fail(error, build_prop), false;
  }
  std::string culprit;
  return make_nodes(base, &culprit) || (fail(error, culprit), false);
}

}  // namespace

bool SimulatedDevice::make(const std::string& root, std::string* error) {
  if (!make_folders(root)) return fail(error, root), false;
  if (!make_phone(root, error)) return false;
  // They put their files there.
  const Input input(root);
  const ModemRows rows(root);
  boot_nodes(root);
  install_tools(root);
  return true;
}

std::unique_ptr<SimulatedDevice> SimulatedDevice::open(const std::string& root, std::string* error) {
  if (!make_folders(root)) return fail(error, root), nullptr;
  char* real = realpath(root.c_str(), nullptr);
  if (!real) return fail(error, root), nullptr;
  std::string base = real;
  free(real);
  if (base == "/") {
    *error = "/: a simulated phone needs a folder of its own";
    return nullptr;
  }
  if (!make_phone(base, error)) return nullptr;
  std::string lock_file = base + "/sim/lock";
  int lock = ::open(lock_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0660);
  if (lock < 0) return fail(error, lock_file), nullptr;
  if (flock(lock, LOCK_EX | LOCK_NB) != 0) {
    std::string holder;
    if (errno == EWOULDBLOCK && read_file(lock_file, &holder)) {
      // One that only just begins or ends has not named itself.
      const pid_t pid = atoi(holder.c_str());
      const bool lives = pid > 0 && (kill(pid, 0) == 0 || errno != ESRCH);
      *error = base + ": " + (lives ? "process " + std::to_string(pid) : "another process") + " runs this phone";
    } else {
      fail(error, lock_file);
    }
    close(lock);
    return nullptr;
  }
  // A clean end empties the file.
  std::string left;
  if (read_file(lock_file, &left) && !left.empty()) Power(base).note("killed");
  std::string pid = std::to_string(getpid()) + "\n";
  if (ftruncate(lock, 0) != 0 || write(lock, pid.data(), pid.size()) < 0) {
    fail(error, lock_file);
    close(lock);
    return nullptr;
  }
  // What the wipe removes and a phone has is made again.
  if (finish_wipe(base) && !make_phone(base, error)) return close(lock), nullptr;
  return std::unique_ptr<SimulatedDevice>(new SimulatedDevice(base, lock));
}

SimulatedDevice::SimulatedDevice(std::string root, int lock)
    : root_(std::move(root)),
      lock_(lock),
      faults(clock),
      logs(root_ + "/dev/log", clock),
      properties(root_, syncs_writes),
      items(root_, syncs_writes),
      modem(root_, syncs_writes, clock, faults),
      input(root_),
      fingerprint(root_),
      bluetooth(clock),
      readings(root_),
      display(root_, clock, properties, readings),
      rtc(root_, clock),
      power(root_),
      scsi(root_),
      usb(root_, clock, properties),
      partitions(root_),
      deletion_service(root_, clock, properties),
      shell(root_),
      card(root_, properties, [this](const std::string& text) { volume_daemon.broadcast(text); }),
      volume_daemon(root_, card, faults) {
  SimulatedDevice* none = nullptr;
  if (!g_current.compare_exchange_strong(none, this)) {
    fprintf(stderr, "a simulated phone is open already\n");
    abort();
  }
  for (const char* folder : {"/sim", "/sim/items", "/sim/modem", "/data/property", "/system", "/system/bin"}) {
    remove_leftovers(root_ + folder);
  }
  shell.on_master_clear([this] { master_clear(); });
  shell.on_screencap(
      [this](const std::vector<std::string>& arguments, int output) { return display.screencap(arguments, output); });
  reboot();
  properties.watch(
      [this](const std::string& name) {
        usb.before_read(name);
        deletion_service.before_read(name);
      },
      [this](const std::string& name) {
        read_later("sys.usb.state", usb.after_write(name));
        read_later("sys.tav.factory_delete", deletion_service.after_write(name));
      });
  volume_daemon.start();
  install_tools(root_);
}

SimulatedDevice::~SimulatedDevice() {
  power.shut();
  clock.release();
  volume_daemon.stop();
  threads.end();
  g_current = nullptr;
  // The file names who runs the phone.
  [[maybe_unused]] const int cleared = ftruncate(lock_, 0);
  close(lock_);
}

SimulatedDevice* SimulatedDevice::open_now() { return g_current.load(std::memory_order_acquire); }

SimulatedDevice& SimulatedDevice::current() {
  SimulatedDevice* device = open_now();
  if (!device) {
    fprintf(stderr, "no simulated phone is open\n");
    abort();
  }
  return *device;
}

void SimulatedDevice::reboot() {
  const std::string file = root_ + "/sim/boots";
  std::string text;
  read_file(file, &text);
  if (!read_number(text.substr(0, text.find('\n')), 0, INT_MAX - 1, &boots_)) boots_ = 0;
  ++boots_;
  write_file(file, std::to_string(boots_) + "\n");
  struct timespec now = {};
  clock.get(CLOCK_REALTIME, &now);
  booted_ = now.tv_sec;
  logs.clear();
  boot_nodes(root_);
  properties.boot();
  properties.set_at_boot("ril.modembsp.bootup", "1");
  usb.boot();
  deletion_service.boot();
  modem.boot();
  input.boot();
  display.boot();
  bluetooth.lose();
  volume_daemon.hang_up();
  card.boot();
}

void SimulatedDevice::master_clear() {
  __android_log_print(ANDROID_LOG_WARN, "phone", "master clear: data and cache are wiped");
  wipe_phone(root_);
  const auto reboot = [](void* phone) -> void* {
    SimulatedDevice& device = *static_cast<SimulatedDevice*>(phone);
    device.clock.sleep(1000000);
    device.power.request("reboot master-clear");
    return nullptr;
  };
  if (threads.start(reboot, this) != 0) __android_log_print(ANDROID_LOG_ERROR, "phone", "no thread for the reboot");
}

void SimulatedDevice::heed_cable() {
  if (usb.node("state") == "DISCONNECTED" && readings.text(kPowerOffStatus).starts_with("1")) {
    power.request("power-off");
  }
}

void SimulatedDevice::read_later(const char* property, int milliseconds) {
  // Where time is virtual, only who reads sees a change.
  if (milliseconds < 0 || clock.is_virtual()) return;
  struct Reading {
    SimulatedDevice& device;
    const char* property;
    int milliseconds;
  };
  const auto read = [](void* argument) -> void* {
    const std::unique_ptr<Reading> due(static_cast<Reading*>(argument));
    due->device.clock.sleep(static_cast<uint64_t>(due->milliseconds) * 1000);
    due->device.properties.get(due->property);
    return nullptr;
  };
  std::unique_ptr<Reading> reading(new Reading{*this, property, milliseconds});
  if (threads.start(read, reading.get()) == 0) reading.release();
}

std::string SimulatedDevice::path(const std::string& device_path, Last last) const {
  const std::string result = resolve(root_, device_path, last);
  const char* wrong = nullptr;
  if (result.empty()) wrong = strerror(errno);
  else if (last == Last::followed && is_pipe_or_device(result))
    wrong = "a pipe or a device node, where a file should be";
  if (!wrong) return result;
  __android_log_print(ANDROID_LOG_ERROR, "phone", "%s: %s", device_path.c_str(), wrong);
  return "";
}

}  // namespace atd::sim
