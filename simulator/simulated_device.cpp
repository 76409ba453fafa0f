#include "simulator/simulated_device.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>

#include "simulator/files.h"

namespace atd::sim {

namespace {

std::atomic<SimulatedDevice*> g_current;

constexpr const char* kFolders[] = {
    "/sim/items",
    "/data/property",
    "/data/factory",
    "/dev/socket",
    "/dev/log",
    "/dev/__properties__",
    "/dev/input",
    "/dev/block/bootdevice/by-name",
    "/sys",
    "/proc",
    "/cache/recovery",
    "/storage",
    "/system/bin",
    "/system/etc",
};

constexpr const char* kBuildProperties =
    "# Read at every boot; edit it to make this phone another one.\n"
    "ro.factorytest=0\n"
    "ro.minios.enable=0\n"
    "ro.bootmode=normal\n"
    "ro.model.name=SIM-1\n"
    "ro.build.version.release=8.0.0\n";

void fail(std::string* error, const std::string& what) { *error = what + ": " + strerror(errno); }

}  // namespace

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
  for (const char* folder : kFolders) {
    if (!make_folders(base + folder)) return fail(error, base + folder), nullptr;
  }
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
  std::string pid = std::to_string(getpid()) + "\n";
  if (ftruncate(lock, 0) != 0 || write(lock, pid.data(), pid.size()) < 0) {
    fail(error, lock_file);
    close(lock);
    return nullptr;
  }
  std::string build_prop = base + "/system/build.prop";
  if (access(build_prop.c_str(), F_OK) != 0 && !write_file(build_prop, kBuildProperties)) {
    fail(error, build_prop);
    close(lock);
    return nullptr;
  }
  return std::unique_ptr<SimulatedDevice>(new SimulatedDevice(base, lock));
}

SimulatedDevice::SimulatedDevice(std::string root, int lock)
    : root_(std::move(root)),
      lock_(lock),
      faults(clock),
      logs(root_ + "/dev/log", clock),
      properties(root_),
      items(root_),
      modem(root_, clock, faults),
      input(root_),
      power(root_),
      shell(root_) {
  SimulatedDevice* none = nullptr;
  if (!g_current.compare_exchange_strong(none, this)) {
    fprintf(stderr, "a simulated phone is open already\n");
    abort();
  }
  shell.install_tools();
  for (const char* folder : {"/sim", "/sim/items", "/sim/modem", "/data/property", "/system"}) {
    remove_leftovers(root_ + folder);
  }
  reboot();
}

SimulatedDevice::~SimulatedDevice() {
  power.shut();
  clock.release();
  threads.await_none();
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
  boots_ = atoi(text.c_str()) + 1;
  write_file(file, std::to_string(boots_) + "\n");
  struct timespec now = {};
  clock.get(CLOCK_REALTIME, &now);
  booted_ = now.tv_sec;
  logs.clear();
  properties.boot();
  modem.boot();
  input.boot();
}

std::string SimulatedDevice::path(const std::string& device_path) const {
  std::string result = root_;
  for (size_t at = 0; at < device_path.size();) {
    size_t end = device_path.find('/', at);
    if (end == std::string::npos) end = device_path.size();
    std::string part = device_path.substr(at, end - at);
    at = end + 1;
    if (part.empty() || part == ".") continue;
    if (part == "..") {
      if (result.size() > root_.size()) result.resize(result.rfind('/'));
    } else {
      result += "/" + part;
    }
  }
  if (device_path.ends_with('/') && result.size() > root_.size()) result += "/";
  return result;
}

}  // namespace atd::sim
