#include "reset/erase.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <string.h>
#include <unistd.h>

#include "factory/items.h"
#include "platform/log.h"
#include "platform/os.h"
#include "system/power.h"
#include "system/sleep.h"

using namespace atd;

namespace {

constexpr char kPartition[] = "/dev/block/bootdevice/by-name/cache";
constexpr off_t kSmallest = 2000;

int discard(int fd) {
  const off_t size = lseek(fd, 0, SEEK_END);
  if (size < kSmallest) {
    SLOGE("file size is wrong. file len = %lld fd = %d \n", static_cast<long long>(size), fd);
    return -2;
  }
  uint64_t range[] = {0, static_cast<uint64_t>(size)};
  int result;
  do {
    result = os_ioctl(fd, BLKDISCARD, range);
  } while (result < 0 && errno == EINTR);
  if (result < 0) {
    SLOGE("ioctl failed. fd = %d, errno = %s\n", fd, strerror(errno));
    return -3;
  }
  SLOGI("ioctl done. fd = %d\n", fd);
  return 0;
}

}  // namespace

int erase_partition() {
  const int fd = open(device_path(kPartition), O_RDWR | O_CLOEXEC);
  if (fd < 0) {
    SLOGE("open error\n");
    return -1;
  }
  const int result = discard(fd);
  close(fd);
  return result;
}

void xboot_data_init() {
  if (get_factory_status() != 6 || system_get_factory_mode() != 0) return;
  if (access(device_path("/cache/build.prop"), F_OK) != 0) {
    // Stations look for this name.
    SLOGI("Not found minios_romcopy_image");
    return;
  }
  SLOGI("Need a cache partition erase!");
  os_umount2("/cache", 0);
  if (erase_partition() != 0) SLOGE("cache partition erase fail...");
  else if (system_restart() != 0) SLOGE("restart fail");
}
