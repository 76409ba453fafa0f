#include "simulator/nodes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "simulator/files.h"
#include "simulator/readings.h"
#include "simulator/sample_logs.h"

using namespace std::string_view_literals;

namespace atd::sim {

namespace {

enum class Life {
  kept,      // made again where it is missing
  one_boot,  // what was written there does not survive a boot
  optional,  // made with the phone; a phone from which it was taken away has none
};

struct Node {
  const char* path;
  std::string_view content;
  off_t size = 0;  // of a partition, in bytes
  Life life = Life::kept;
};

constexpr Node kNodes[] = {
    {"/dev/block/bootdevice/by-name/misc", "", 1 << 20},
    {"/dev/block/bootdevice/by-name/cache", "", 4 << 20},
    // An image begins with a header, which says where it ends.
    {"/dev/block/bootdevice/by-name/aboot", "\5\0\0\0\3\0\0\0\0\0\0\0\0\0\xc0\x8f\0\xa0\4\0aboot V10a"sv, 1 << 20,
     Life::optional},
    {"/dev/block/bootdevice/by-name/sbl1",
     "\xd1\xdc\x4b\x84\x34\x10\xd7\x73\x15\0\0\0\xff\xff\xff\xff\xff\xff\xff\xff\x50\0\0\0\0\0\x90\xf8\0\x80\2\0"
     "\0\0\0\0\0\0\0\0sbl1 V10a"sv,
     1 << 20, Life::optional},
    {"/dev/block/bootdevice/by-name/sbl2", "\6\0\0\0\3\0\0\0\0\0\0\0\0\0\x10\x90\0\x20\1\0sbl2 V10a"sv, 1 << 19,
     Life::optional},
    {"/dev/block/bootdevice/by-name/sbl3", "\7\0\0\0\3\0\0\0\0\0\0\0\0\0\x20\x90\0\x40\1\0sbl3 V10a"sv, 1 << 19,
     Life::optional},
    {"/dev/block/bootdevice/by-name/rpm", "\x08\0\0\0\3\0\0\0\0\0\0\0\0\0\x20\0\0\xc0\2\0rpm V10a"sv, 1 << 19,
     Life::optional},
    {"/dev/block/bootdevice/by-name/tz", "\x09\0\0\0\3\0\0\0\0\0\0\0\0\0\x50\x86\0\x80\5\0tz V10a"sv, 1 << 20,
     Life::optional},
    {"/dev/block/bootdevice/by-name/boot", "ANDROID!\0\0\x60\0\0\x80\0\x80\0\0\x10\0boot V10a"sv, 8 << 20,
     Life::optional},
    {"/dev/block/bootdevice/by-name/recovery", "ANDROID!\0\0\x60\0\0\x80\0\x80\0\0\x18\0recovery V10a"sv, 8 << 20,
     Life::optional},
    {"/dev/block/bootdevice/by-name/modem", "modem V10a", 54000 * 1024, Life::optional},
    {"/proc/cmdline", "console=ttyMSM0 androidboot.bootdevice=624000.ufshc androidboot.hardware=sim tav.rev=rev_10\n"},
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
    {"/dev/graphics/fb0", ""},
    {"/proc/tav_power/lcd/brightness", "183\n"},
    {"/sys/class/graphics/fb0/blank", "0\n", 0, Life::one_boot},
    {"/sys/class/android_usb/android0/lock", "0\n", 0, Life::one_boot},
    {"/sys/class/leds/R/device/led_pattern", "0\n", 0, Life::one_boot},
    {"/sys/power/autosleep", "off\n", 0, Life::one_boot},
    {"/sys/kernel/atd_mid/atd_status", "0\n", 0, Life::one_boot},
    {"/sys/devices/system/cpu/cpu0/cpufreq/scaling_cur_freq", "1804800\n"},
    {"/sys/devices/system/cpu/cpu0/cpufreq/scaling_max_freq", "1804800\n"},
    {"/sys/devices/system/cpu/cpu0/cpufreq/scaling_min_freq", "300000\n"},
    {"/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_cur_freq", "1804800\n"},
    {"/sys/devices/system/cpu/cpu0/cpufreq/scaling_governor", "interactive\n", 0, Life::one_boot},
    {"/sys/devices/system/cpu/cpu1/cpufreq/scaling_cur_freq", "1804800\n"},
    {"/sys/devices/system/cpu/cpu1/cpufreq/scaling_max_freq", "1804800\n"},
    {"/sys/devices/system/cpu/cpu1/cpufreq/scaling_min_freq", "300000\n"},
    {"/sys/devices/virtual/input/tav_touch/testmode_ver", "TAV_TOUCH_1.0\n"},
    {"/proc/tav_power/battery/present", "1\n", 0, Life::optional},
    {"/proc/tav_power/adc/vcoin", "Result:3000000 Raw:31000\n", 0, Life::optional},
    {"/proc/tav_power/adc/batt_id", "Result:1100000 Raw:18000\n", 0, Life::optional},
    {"/proc/tav_power/adc/xo_therm", "Result:30 Raw:32000\n", 0, Life::optional},
    {"/proc/tav_power/platform/pcb_rev", "Result:900000 Raw:15000\n", 0, Life::optional},
    {"/sys/class/switch/backcover/state", "0\n", 0, Life::optional},
    {"/sys/bus/i2c/devices/1-002d/at_pmrst", "1\n", 0, Life::optional},
    {"/dev/rtc0", "", 0, Life::optional},
    {"/system/etc/ap.ubid", "SIM1APV10A0\n"},
    {"/cust/cust.ubid", "SIM1CUV10A0\n"},
    {"/data/.OP/userdata.ubid", "SIM1UDV10A0-0\n"},
};

bool make(const std::string& path, const Node& node) {
  if (path.empty()) return false;
  struct stat there;
  // A kill leaves a partition without its size.
  if (stat(path.c_str(), &there) == 0 && (node.size == 0 || there.st_size > static_cast<off_t>(node.content.size()))) {
    return true;
  }
  return make_folders(path.substr(0, path.rfind('/'))) && write_file(path, std::string(node.content)) &&
         (node.size == 0 || truncate(path.c_str(), node.size) == 0);
}

}  // namespace

bool make_nodes(const std::string& root, std::string* culprit) {
  const bool is_new = access((root + "/sim/boots").c_str(), F_OK) != 0;
  for (const Node& node : kNodes) {
    if (node.life == Life::optional && !is_new) continue;
    if (make(resolve(root, node.path), node)) continue;
    *culprit = root + node.path;
    return false;
  }
  *culprit = root;
  return !is_new || (Readings(root).make() && make_sample_logs(root));
}

bool begins_anew(const std::string& path) {
  return std::any_of(std::begin(kNodes), std::end(kNodes),
                     [&](const Node& node) { return node.life == Life::one_boot && path == node.path; });
}

void boot_nodes(const std::string& root) {
  // Made by init on a phone.
  for (const char* folder : {"/data/dbdump", "/data/mtslog"}) {
    if (const std::string place = resolve(root, folder); !place.empty()) make_folders(place);
  }
  for (const Node& node : kNodes) {
    if (node.life == Life::one_boot) write_file(resolve(root, node.path), std::string(node.content));
  }
}

}  // namespace atd::sim
