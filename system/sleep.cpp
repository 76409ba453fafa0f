#include "system/sleep.h"

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "platform/log.h"
#include "platform/node_access.h"
#include "platform/properties.h"
#include "system/lcd.h"
#include "text/property.h"

using namespace atd;

namespace {

constexpr char kBlank[] = "/sys/class/graphics/fb0/blank";
constexpr char kAutosleep[] = "/sys/power/autosleep";

}  // namespace

int normal_mode_check() {
  if (first_character("ro.minios.bootstart") == '1' || first_character("ro.fwx.bootstart") == '1') return 1;
  const char factory = first_character("ro.factorytest"), minios = first_character("ro.minios.enable");
  if (factory != '0' || minios != '0') {
    SLOGI("ro.factorytest[%c],ro.minios.enable[%c].", factory, minios);
    return 1;
  }
  char fwx[PROPERTY_VALUE_MAX];
  if (system_property_get("ro.boot.fwx", fwx) <= 0) {
    SLOGI("ro.factorytest[%c],ro.minios.enable[0],None ro.boot.fwx.", factory);
    return 0;
  }
  SLOGI("ro.factorytest[%c],ro.minios.enable[0],ro.boot.fwx[%s].", factory, fwx);
  return 1;
}

int system_get_factory_mode() {
  const char mode = first_character("ro.factorytest");
  return mode == '1' ? 1 : mode == '2' ? 2 : 0;
}

int system_android_sleep(int on) {
  const int error = request_to_system(on ? kAndroidSleep : kAndroidWake, nullptr, 0, nullptr, nullptr, nullptr);
  SLOGI("The value of response ret is %d", error);
  return error;
}

int system_sleep() {
  if (!normal_mode_check()) return system_android_sleep(1);
  SLOGI("FACTORY_MODE");
  // Every step is done. The failure of one is also that of those after it.
  bool failed = lcdtest_lcd_onoff(0) != 0;
  if (failed) SLOGE("Fail: request_to_system : RZCMD_LCD_OFF");
  failed |= write_brightness("0") != 0;
  if (failed) SLOGE("Fail: write_sys : LCD_BRIGHTNESS ");
  failed |= unified_sysfs_write(kBlank, "4") < 0;
  if (failed) SLOGE("Fail: write_sys : /sys/class/graphics/fb0/blank ");
  failed |= unified_sysfs_write(kAutosleep, "mem") < 0;
  if (failed) SLOGE("Fail: write_sys : POWER_STATE_PATH ");
  return failed ? 1 : 0;
}

int system_wakeup() {
  if (!normal_mode_check()) return system_android_sleep(0);
  bool failed = lcdtest_lcd_onoff(1) != 0;
  failed |= write_brightness("183") != 0;
  failed |= unified_sysfs_write(kAutosleep, "on") < 0;
  return failed ? 1 : 0;
}

int get_sleep_mode() {
  char brightness[16];
  return read_brightness(brightness) > 0 && brightness[0] == '0' ? 1 : 0;
}
