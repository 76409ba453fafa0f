// The screen's minimum brightness, where a cable alone feeds the phone.
#pragma once

#pragma GCC visibility push(default)

// Sets the minimum brightness, 10, where a PIF cable feeds a phone without a battery, unless the brightness is 0 or 10
// or the modem is in flight mode. Always 0.
int system_set_lcd_brightness();

// Sets it once a second, 16 times, on the caller's thread, whatever it is. Does nothing when flight mode is on at the
// start; ends where the brightness cannot be read. Always 0.
int system_set_lcd_brightness_loop();

#pragma GCC visibility pop
