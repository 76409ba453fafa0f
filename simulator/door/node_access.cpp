#include "platform/node_access.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "platform/os.h"
#include "simulator/simulated_device.h"

using atd::device_path;
using atd::sim::Call;
using atd::sim::SimulatedDevice;

int unified_sysfs_read(const char* path, char* buffer, int size) {
  buffer[0] = '\0';
  if (SimulatedDevice::current().faults.hits(Call::unified_sysfs_read, path)) return -EIO;
  const int fd = open(device_path(path), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return -errno;
  const ssize_t length = read(fd, buffer, static_cast<size_t>(size - 1));
  const int error = errno;
  close(fd);
  if (length < 0) return -error;
  buffer[length] = '\0';
  return static_cast<int>(length);
}

int unified_sysfs_write(const char* path, const char* text) {
  if (SimulatedDevice::current().faults.hits(Call::unified_sysfs_write, path)) return -EIO;
  if (SimulatedDevice::current().readings.resets(path, text)) return static_cast<int>(strlen(text));
  // What stands behind a shorter text would be read as a part of it.
  const int fd = open(device_path(path), O_WRONLY | O_TRUNC | O_CLOEXEC);
  if (fd < 0) return -errno;
  const ssize_t written = write(fd, text, strlen(text));
  const int error = errno;
  close(fd);
  if (written < 0) return -error;
  if (strcmp(path, SimulatedDevice::kPowerOffStatus) == 0) SimulatedDevice::current().heed_cable();
  return static_cast<int>(written);
}
