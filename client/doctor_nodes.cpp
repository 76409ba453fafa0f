#include <errno.h>
#include <fmt/format.h>
#include <fnmatch.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "client/doctor.h"

namespace atd::client {
namespace {

constexpr auto ok = Check::State::ok, fail = Check::State::fail, not_seen = Check::State::not_seen;

constexpr PortingNode kNodes[] = {
    // nodes: written by scripts/porting-tables
    {"/dev/block/bootdevice/by-name/%s", kRead},
    {"/dev/block/bootdevice/by-name/cache", kRead | kWritten},
    {"/dev/block/bootdevice/by-name/misc", kWritten},
    {"/dev/block/mmcblk0", 0},
    {"/dev/block/mmcblk0p1", 0},
    {"/dev/graphics/fb0", kRead},
    {"/dev/input/event%d", kRead | kWritten},
    {"/dev/rtc0", kRead},
    {"/dev/sg3", 0},
    {"/proc/cmdline", kRead},
    {"/proc/meminfo", kRead},
    {"/proc/mounts", kRead},
    {"/proc/tav_power/adc/batt_id", kRead},
    {"/proc/tav_power/adc/usb_id", kRead},
    {"/proc/tav_power/adc/usb_in", kRead},
    {"/proc/tav_power/adc/vcoin", kRead},
    {"/proc/tav_power/adc/vph_pwr", kRead},
    {"/proc/tav_power/adc/xo_therm", kRead},
    {"/proc/tav_power/battery/capacity", 0},
    {"/proc/tav_power/battery/present", kRead | kWritten},
    {"/proc/tav_power/battery/temp", kRead},
    {"/proc/tav_power/battery/voltage_now", 0},
    {"/proc/tav_power/charger/ibat_current", kRead},
    {"/proc/tav_power/charger/ichg_current", kRead},
    {"/proc/tav_power/lcd/brightness", kRead | kWritten},
    {"/proc/tav_power/platform/pcb_rev", kRead},
    {"/sys/block/mmcblk0/size", 0},
    {"/sys/block/sd%c/size", 0},
    {"/sys/bus/i2c/devices/1-002d/at_pmrst", kRead},
    {"/sys/bus/i2c/devices/1-0036/capacity", 0},
    {"/sys/bus/i2c/devices/1-0036/fuelrst", 0},
    {"/sys/bus/i2c/devices/1-0036/voltage", 0},
    {"/sys/bus/i2c/drivers/max17047/0-0036/at_batl", 0},
    {"/sys/bus/i2c/drivers/max17047/0-0036/at_fuelrst", 0},
    {"/sys/bus/i2c/drivers/max17047/0-0036/at_fuelval", 0},
    {"/sys/bus/i2c/drivers/max17050/1-0036/at_batl", 0},
    {"/sys/bus/i2c/drivers/max17050/1-0036/at_fuelrst", 0},
    {"/sys/bus/i2c/drivers/max17050/1-0036/at_fuelval", 0},
    {"/sys/bus/i2c/drivers/rt5058/4-0034/rt5058-fuelgauge/at_fuelrst", 0},
    {"/sys/class/android_usb/android0/lock", kRead | kWritten},
    {"/sys/class/android_usb/android0/state", kRead},
    {"/sys/class/graphics/fb0/blank", kWritten},
    {"/sys/class/leds/R/device/led_pattern", kWritten},
    {"/sys/class/power_supply/ac/charging_complete", kRead | kWritten},
    {"/sys/class/power_supply/ac/charging_enabled", kRead | kWritten},
    {"/sys/class/power_supply/battery/present", 0},
    {"/sys/class/power_supply/battery/temp", kRead},
    {"/sys/class/power_supply/bms/device/at_batl", 0},
    {"/sys/class/power_supply/bms/device/at_fuelrst", 0},
    {"/sys/class/power_supply/bms/device/at_fuelval", 0},
    {"/sys/class/switch/backcover/state", kRead},
    {"/sys/devices/platform/tav_android_usb/tav_usb_mode", kRead},
    {"/sys/devices/soc.0/7864900.sdhci/mmc_host/mmc1/cd_status", kRead},
    {"/sys/devices/system/cpu/cpu%d/cpufreq/%s", kRead},
    {"/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_cur_freq", kRead},
    {"/sys/devices/system/cpu/cpu0/cpufreq/scaling_governor", kWritten},
    {"/sys/devices/virtual/input/tav_touch/testmode_ver", kRead},
    {"/sys/devices/virtual/thermal/thermal_zone%d/temp", kRead},
    {"/sys/devices/virtual/thermal/thermal_zone%d/type", kRead},
    {"/sys/kernel/atd_mid/atd_status", kRead | kWritten},
    {"/sys/power/autosleep", kWritten},
    // end
};

// The paths below the folder that the pattern may stand for; a folder that cannot be listed stands for those in it.
std::vector<std::string> matching(const std::string& folder, std::string_view pattern) {
  const size_t begin = pattern.find_first_not_of('/'), end = std::min(pattern.find('/', begin), pattern.size());
  std::string name(pattern.substr(begin, end - begin));
  const std::string_view rest = pattern.substr(end);
  std::vector<std::string> names, found;
  if (name.find('%') == name.npos) {
    names.push_back(name);
  } else {
    for (size_t at; (at = name.find('%')) != name.npos;) name.replace(at, 2, "*");
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder + "/", error), last; entry != last; entry.increment(error)) {
      const std::string one = entry->path().filename().string();
      if (fnmatch(name.c_str(), one.c_str(), 0) == 0) names.push_back(one);
    }
    if (error == std::errc::permission_denied) return {folder};
  }
  for (const std::string& one : names) {
    const std::string path = folder + "/" + one;
    const std::vector<std::string> below = rest.empty() ? std::vector{path} : matching(path, rest);
    found.insert(found.end(), below.begin(), below.end());
  }
  return found;
}

// 0 where a path of the node may be used, else an error number. It looks at the node and does not open it: to read one
// may be enough to reset a fuel gauge.
int error_of(const std::string& folder, const PortingNode& node) {
  const int mode = (node.use != kWritten ? R_OK : 0) | (node.use & kWritten ? W_OK : 0);
  int error = ENOENT;
  for (const std::string& path : matching(folder, node.path)) {
    if (access(path.c_str(), mode) == 0) return 0;
    if (errno != ENOTDIR) error = errno;
  }
  return error;
}

}  // namespace

std::span<const PortingNode> porting_nodes() { return kNodes; }

void examine_nodes(const std::string& folder, bool is_as_daemon, const std::function<void(const Check&)>& tell) {
  std::vector<const char*> missing, forbidden;
  size_t good = 0;
  for (const PortingNode& node : kNodes) {
    const int error = error_of(folder, node);
    const std::string found = fmt::format("{}: {}", node.path, strerror(error));
    if (error == 0) ++good;
    else if (error == ENOENT && node.use == 0) missing.push_back(node.path);
    else if (!is_as_daemon && is_forbidden(error)) forbidden.push_back(node.path);
    else if (is_forbidden(error)) tell({"nodes", fail, found, "give the daemon's user and domain the permission"});
    else tell({"nodes", fail, found, "let the kernel have it, or do without what opens it: docs/porting.md"});
  }
  if (!missing.empty()) {
    tell({"nodes", not_seen, fmt::format("{} that not every phone has, such as {}", missing.size(), missing.front()),
          "nothing to do where this phone has another part instead"});
  }
  if (!forbidden.empty()) {
    tell({"nodes", not_seen, fmt::format("{} closed to this user, such as {}", forbidden.size(), forbidden.front()),
          "run atdctl as the daemon's user, or as root"});
  }
  if (good > 0)
    tell({"nodes", ok, fmt::format("{} of {} are there with their permissions", good, std::size(kNodes)), ""});
}

}  // namespace atd::client
