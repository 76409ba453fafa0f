#include "system/brightness.h"

#include <stdint.h>

#include "platform/log.h"
#include "platform/os.h"
#include "system/environment.h"
#include "system/flight_mode.h"
#include "system/lcd.h"
#include "text/number.h"

using namespace atd;

namespace {

constexpr char kMinimum[] = "10";
constexpr int kRounds = 16;
constexpr uint64_t kRoundUs = 1000000;

}  // namespace

int system_set_lcd_brightness() {
  char text[16];
  if (get_flight_status() || system_get_battery_status() || !system_get_pif_status()) return 0;
  if (read_brightness(text) < 0) return 0;
  const int brightness = leading_number(text);
  if (brightness == 0 || brightness == 10) return 0;
  SLOGI("Mobile ID Mode (No Battery & PIF), set lcd minimum brightness\n");
  write_brightness(kMinimum);
  return 0;
}

int system_set_lcd_brightness_loop() {
  if (get_flight_status()) return 0;
  for (int round = 0; round < kRounds; ++round) {
    char text[16];
    if (!system_get_battery_status() && system_get_pif_status()) {
      if (read_brightness(text) < 0) return 0;
      SLOGI("Mobile ID Mode (No Battery & PIF), set lcd minimum brightness.\n");
      write_brightness(kMinimum);
    }
    os_sleep_us(kRoundUs);
  }
  return 0;
}
