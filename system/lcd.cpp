#include "system/lcd.h"

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "platform/node_access.h"

namespace atd {

namespace {

constexpr char kBrightness[] = "/proc/tav_power/lcd/brightness";

}  // namespace

int lcdtest_lcd_onoff(int on) {
  return request_to_system(on ? kLcdOn : kLcdOff, nullptr, 0, nullptr, nullptr, nullptr);
}

int read_brightness(char (&text)[16]) { return unified_sysfs_read(kBrightness, text, sizeof text); }

int write_brightness(const char* text) { return unified_sysfs_write(kBrightness, text) < 0 ? -1 : 0; }

}  // namespace atd
