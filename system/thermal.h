// Temperatures: the chip's sensors, which are thermal zones of the kernel, and the crystal.
#pragma once

#pragma GCC visibility push(default)

// The number of thermal zones, from the first up to one without a type, whose type begins with "tsens_tz_sensor".
int get_tsens_count();

// Reads the zone n + 2, in tenths of a degree, and writes degrees with one decimal, "31.5", to `out` (16 bytes). 0, or
// 1 with the empty text when the zone cannot be read.
int get_tsens_temp(int n, char* out);

// Writes the degrees of the n-th sensor, the first is 1, with one decimal to `out` (16 bytes). Its number is degrees
// below 101, tenths of a degree from there on. 0, or 1 with the empty text when there is no such sensor or it cannot be
// read.
int get_tsens_temp_rec(int n, char* out);

// Operation 1 selects a sensor, at most 7, and writes its number to `out` (12 bytes), 2 writes the number of the one
// that is selected, 3 how many there are, which is 7 here whatever the phone has; any other leaves `out` alone. 0, or 1
// with `out` left alone for a higher number.
int do_tsens(int value, int operation, char* out);

// Writes the crystal's degrees, the two digits after the first ':' of its node, to `out` (12 bytes), 0 without a ':',
// and the text's length to *length. The first argument is not used. 0, or 1 with the empty text and the length 0 when
// the node cannot be read.
int get_xo_therm_temp(const char* ignored, char* out, int* length);

// The two digits after the first ':' of a terminated text, as a number; 0 without a ':'.
int store_xo_therm(const char* text);

#pragma GCC visibility pop
