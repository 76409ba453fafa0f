// The real-time clock, the back cover and the power chip's reset.
#pragma once

#pragma GCC visibility push(default)

// Writes the real-time clock's time, "20260131235959", to `out` (30 bytes). 0, or 1 with the empty text when the clock
// cannot be opened or read.
int get_rtc_time(char* out);

// Writes the number that the back cover's switch has for its colour to `out` (12 bytes). 0, or 1 with the empty text
// when the switch cannot be read.
int get_backcover_color(char* out);

// Copies what the power chip's reset node says, at most 126 characters, with a line end behind them where there is
// none, to `out` (128 bytes). 0, or 1 with the empty text when it cannot be read.
int get_pm_reset(char* out);

#pragma GCC visibility pop
