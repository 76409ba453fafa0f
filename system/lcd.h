// The screen's power and brightness.
#pragma once

namespace atd {

// Asks the platform to switch the screen on, or off (0); 0, or the error of request_to_system.
int lcdtest_lcd_onoff(int on);

// Reads the brightness as text, "" where it cannot be read; the text's length, or a negative error number.
int read_brightness(char (&text)[16]);

// Writes the brightness, a decimal text; 0, or -1.
int write_brightness(const char* text);

}  // namespace atd
