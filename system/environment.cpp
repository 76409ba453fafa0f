#include "system/environment.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#include "factory/items.h"
#include "platform/log.h"
#include "platform/node_access.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "text/prefix.h"
#include "text/property.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr const char* kCableTypes[] = {"factory_56k", "factory_130k", "factory_910k"};

}  // namespace

int system_check_minios_romcopy() {
  struct stat image;
  const bool found = stat(device_path("/system/minios_romcopy_image"), &image) == 0;
  SLOGI("%s", found ? "ROMCOPY Image\n" : "Not a ROMCOPY Image\n");
  return found ? 0 : 1;
}

int system_check_fboot() {
  const char complete = first_character("dev.bootcomplete");
  if (complete != '1') return 0;
  SLOGI("[TAV][ATD] Bootcomplete : %c\n", complete);
  return 1;
}

int system_set_env_property() {
  char mode[PROPERTY_VALUE_MAX] = "";
  system_property_get("ro.bootmode", mode);
  const bool qem = begins_with(mode, "qem");
  system_property_set("sys.factory.qem", qem ? "1" : "0");
  system_property_set("sys.tav.pif", qem || begins_with(mode, "pif") ? "1" : "0");
  if (qem && get_mfts_status() == '1') {
    system_set_logservice(0);
    os_system("rm /data/logger/*");
  } else if (qem) {
    system_set_logservice(1);
    system_property_set("persist.service.crash.enable", "1");
  }
  SLOGI("[TAV][ATD] bootmode: %s \n", mode);
  return 0;
}

int system_set_logservice(int on) {
  SLOGI("[%s] log service setting option is %d\n", __func__, on);
  const char* value = on ? "1" : "0";
  system_property_set("persist.service.main.enable", value);
  system_property_set("persist.service.system.enable", value);
  system_property_set("persist.service.radio.enable", value);
  system_property_set("persist.service.events.enable", value);
  system_property_set("persist.service.kernel.enable", value);
  return 0;
}

int system_get_pif_status() {
  if (first_character("sys.tav.pif") != '1') return 0;
  SLOGI("PIF cable is connected");
  return 1;
}

int system_check_pif_bootmode() {
  char mode[PROPERTY_VALUE_MAX] = "";
  system_property_get("ro.bootmode", mode);
  return begins_with(mode, "pif") ? 1 : 0;
}

int system_get_battery_status() {
  char present[16];
  return unified_sysfs_read("/proc/tav_power/battery/present", present, sizeof present) > 0 && present[0] == '1' ? 1
                                                                                                                 : 0;
}

int system_get_cable_type() {
  char mode[31 + 1];
  if (unified_sysfs_read("/sys/devices/platform/tav_android_usb/tav_usb_mode", mode, sizeof mode) < 0) {
    SLOGE("USB Cable Type read fail\n");
    return -1;
  }
  for (int type = 0; type < 3; ++type) {
    if (!strstr(mode, kCableTypes[type])) continue;
    SLOGI("USB Cable Type : %s\n", kCableTypes[type]);
    return type + 1;
  }
  SLOGI("USB Cable Type : Normal\n");
  return 0;
}

int system_mkdir_factory() { return mkdir(device_path("/data/factory"), 0755) == 0 || errno == EEXIST ? 0 : 1; }

void show_current_time() {
  struct timespec now = {};
  os_clock_gettime(CLOCK_REALTIME, &now);
  struct tm local;
  char text[32] = "";
  if (localtime_r(&now.tv_sec, &local)) strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S", &local);
  SLOGI("Current time is %s\n", text);
}

int set_bootstatus(int value) {
  char text[4];
  TextWriter(text).format("%d", value & 0xFF);
  return system_property_set("persist.sys.tav.bootstatus", text);
}

int set_operator_clear() { return system_property_set("persist.sys.tav.operator", ""); }
