#include "system/cable_power_off.h"

#include <hardware_legacy/power.h>
#include <string.h>

#include "factory/items.h"
#include "platform/log.h"
#include "platform/node_access.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "system/cpu.h"
#include "system/environment.h"
#include "system/lcd.h"
#include "system/power.h"
#include "system/sleep.h"
#include "system/usb.h"
#include "text/property.h"

using namespace atd;

namespace {

constexpr char kWakeLock[] = "atd_poweroff";
constexpr uint64_t kPollUs = 1000000;

// What get_usbstate_from_sys says; any other is a cable.
enum UsbState { kInvalid = 0, kDisconnected = 1 };

int switch_off() {
  lcdtest_lcd_onoff(1);
  SLOGI("Cable is unconnected");
  return system_poweroff();
}

void* wait_on_thread(void*) {
  wait_for_cable_disconnect();
  return nullptr;
}

}  // namespace

int power_off_with_cable() {
  system_property_set("sys.tav.sleepmode.on", "1");
  if (const int locked = acquire_wake_lock(PARTIAL_WAKE_LOCK, kWakeLock); locked < 0) {
    SLOGE("Failed to acquire the wakelock \"%s\", ret = %d", kWakeLock, locked);
    return 1;
  }
  if (normal_mode_check()) write_brightness("30");
  else system_android_sleep(0);
  set_cpu_performance(0);
  if (const int error = os_start_thread(wait_on_thread, nullptr)) {
    SLOGE("Unable to create power off thread : %s\n", strerror(error));
    return 1;
  }
  // Where the kernel takes this, it switches the phone off by itself, and system_poweroff leaves that to it.
  if (unified_sysfs_write("/sys/kernel/atd_mid/atd_status", "1") < 0) SLOGE("not supported atd_poweroff");
  return 0;
}

void wait_for_cable_disconnect() {
  int state = get_usbstate_from_sys();
  if (state == kInvalid) {
    SLOGE("USB state is invalid");
    return;
  }
  // From here on an invalid state counts as a pulled cable.
  while (state != kDisconnected && state != kInvalid) {
    os_sleep_us(kPollUs);
    state = get_usbstate_from_sys();
  }
  switch_off();
}

int retry_power_off_with_cable() {
  const int status = get_factory_status();
  if (!system_check_pif_bootmode() || (status != 5 && status != 3)) return 0;
  if (first_character("sys.tav.sleepmode.on") != '1') return 0;
  SLOGI("retry poweroff cmd\n");
  switch (get_usbstate_from_sys()) {
    case kInvalid: SLOGE("USB state is invalid"); return 1;
    case kDisconnected: return switch_off();
    default: return power_off_with_cable();
  }
}
