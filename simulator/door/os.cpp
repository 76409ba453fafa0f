#include "platform/os.h"

#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "desk/socket_address.h"
#include "simulator/simulated_device.h"

using atd::sim::Call;
using atd::sim::Last;
using atd::sim::SimulatedDevice;

namespace atd {

namespace {

bool refuse(Call call, const std::string& object, int error) {
  if (!SimulatedDevice::current().faults.hits(call, object)) return false;
  errno = error;
  return true;
}

// Whether a part of a path leads upwards.
bool has_dots(const std::string& path) { return ("/" + path + "/").find("/../") != std::string::npos; }

// The phone's path of a relative one, "" when the working folder is not in the phone.
std::string below_working_folder(const std::string& path) {
  char here[PATH_MAX];
  const std::string& root = SimulatedDevice::current().root();
  if (!getcwd(here, sizeof here)) return "";
  const std::string folder = std::string(here) + "/";
  return folder.starts_with(root + "/") ? folder.substr(root.size()) + path : "";
}

DevicePath place(const char* path, Last last) {
  DevicePath result;
  // A relative path is one below the daemon's working folder. Where that is in the phone, its links are the phone's.
  std::string text = has_dots(path) ? "" : path;
  std::string absolute = path[0] == '/' ? path : "";
  if (!text.empty() && absolute.empty()) absolute = below_working_folder(text);
  if (!absolute.empty()) {
    text = SimulatedDevice::current().path(absolute, last);
    const std::string other = SimulatedDevice::current().card.stand_in(text, last);
    if (!other.empty()) text = other;
  }
  if (text.size() >= sizeof result.text) text.clear();
  memcpy(result.text, text.c_str(), text.size() + 1);
  return result;
}

}  // namespace

DevicePath device_path(const char* path) { return place(path, Last::followed); }

DevicePath device_entry(const char* path) { return place(path, Last::itself); }

int os_ioctl(int fd, ioctl_request_t request, void* argument) {
  if (refuse(Call::ioctl, std::to_string(request), EIO)) return -1;
  int result;
  if (SimulatedDevice::current().input.ioctl(fd, request, argument, &result)) return result;
  if (SimulatedDevice::current().display.ioctl(fd, request, argument, &result)) return result;
  if (SimulatedDevice::current().scsi.ioctl(fd, request, argument, &result)) return result;
  if (SimulatedDevice::current().partitions.ioctl(fd, request, argument, &result)) return result;
  if (SimulatedDevice::current().rtc.ioctl(fd, request, argument, &result)) return result;
  return ioctl(fd, request, argument);
}

int os_system(const char* command) {
  return refuse(Call::system, command, ENOMEM) ? -1 : SimulatedDevice::current().shell.system(command);
}

int os_run(const char* const* argv) {
  std::vector<std::string> arguments;
  for (; *argv; ++argv) arguments.push_back(*argv);
  if (arguments.empty()) return errno = EINVAL, kNotExecuted;
  return refuse(Call::run, arguments[0], ENOMEM) ? -1 : SimulatedDevice::current().shell.run(arguments);
}

void os_sleep_us(uint64_t microseconds) {
  SimulatedDevice::current().threads.leave_at_end();
  SimulatedDevice::current().clock.sleep(microseconds);
}

int os_clock_gettime(clockid_t clock, struct timespec* now) {
  return refuse(Call::clock_gettime, {}, EINVAL) ? -1 : SimulatedDevice::current().clock.get(clock, now);
}

int os_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                      const struct timespec* deadline) {
  return SimulatedDevice::current().clock.timed_wait(condition, mutex, clock, deadline);
}

int os_wait_readable(int fd, uint64_t microseconds) {
  if (refuse(Call::wait_readable, {}, EIO)) return -1;
  return SimulatedDevice::current().clock.wait_readable(fd, microseconds);
}

int os_umount2(const char* target, int flags) {
  if (refuse(Call::umount2, target, EBUSY)) return -1;
  SimulatedDevice::current().shell.note("umount2 " + std::string(target) + " " + std::to_string(flags));
  return 0;
}

void os_sync() { SimulatedDevice::current().shell.note("sync"); }

int os_statfs(const char* path, struct statfs* result) {
  if (refuse(Call::statfs, path, EIO)) return -1;
  const DevicePath place = device_path(path);
  if (statfs(place, result) != 0) return -1;
  SimulatedDevice::current().card.measure(static_cast<const char*>(place), result);
  return 0;
}

int os_start_thread(void* (*body)(void*), void* argument) {
  if (refuse(Call::start_thread, {}, EAGAIN)) return EAGAIN;
  return SimulatedDevice::current().threads.start(body, argument);
}

void os_await_threads() { SimulatedDevice::current().threads.await_none(); }

int os_connect_local(const char* name) {
  if (refuse(Call::connect, name, ECONNREFUSED)) return -1;
  return connect_to(SimulatedDevice::current().path(std::string("/dev/socket/") + name));
}

}  // namespace atd
