#include "simulator/nodes.h"

#include <sys/stat.h>
#include <unistd.h>

#include "simulator/files.h"

namespace atd::sim {

namespace {

struct Node {
  const char* path;
  const char* content;
  off_t size = 0;  // of a partition, in bytes
};

constexpr Node kNodes[] = {
    {"/dev/block/bootdevice/by-name/misc", "", 1 << 20},
    {"/proc/cmdline", "console=ttyMSM0 androidboot.bootdevice=624000.ufshc androidboot.hardware=sim\n"},
    {"/proc/meminfo", "MemTotal:        3881456 kB\nMemFree:         1204320 kB\nMemAvailable:    2417964 kB\n"},
    {"/proc/mounts",
     "rootfs / rootfs ro,seclabel 0 0\n"
     "tmpfs /dev tmpfs rw,seclabel,nosuid,relatime,mode=755 0 0\n"
     "proc /proc proc rw,relatime 0 0\n"
     "sysfs /sys sysfs rw,seclabel,relatime 0 0\n"
     "/dev/block/bootdevice/by-name/system /system ext4 ro,seclabel,relatime 0 0\n"
     "/dev/block/bootdevice/by-name/cache /cache ext4 rw,seclabel,nosuid,nodev,relatime 0 0\n"
     "/dev/block/bootdevice/by-name/userdata /data ext4 rw,seclabel,nosuid,nodev,noatime 0 0\n"
     "tmpfs /storage tmpfs rw,seclabel,relatime,mode=755 0 0\n"},
    {"/sys/block/sda/size", "120627200\n"},
    {"/sys/block/sdb/size", "8192\n"},
    {"/sys/block/sdc/size", "8192\n"},
    {"/sys/block/sdd/size", "262144\n"},
    {"/sys/block/sde/size", "3145728\n"},
    {"/sys/block/sdf/size", "1048576\n"},
    {"/dev/sg3", ""},
    {"/sys/devices/virtual/input/tav_touch/testmode_ver", "TAV_TOUCH_1.0\n"},
};

bool make(const std::string& path, const Node& node) {
  if (path.empty()) return false;
  struct stat there;
  // A kill leaves a partition without its size.
  if (stat(path.c_str(), &there) == 0 && (node.size == 0 || there.st_size > 0)) return true;
  return make_folders(path.substr(0, path.rfind('/'))) && write_file(path, node.content) &&
         (node.size == 0 || truncate(path.c_str(), node.size) == 0);
}

}  // namespace

bool make_nodes(const std::string& root, std::string* culprit) {
  for (const Node& node : kNodes) {
    if (make(resolve(root, node.path), node)) continue;
    *culprit = root + node.path;
    return false;
  }
  return true;
}

}  // namespace atd::sim
