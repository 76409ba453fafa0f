// The version of the touch firmware's test mode.
#pragma once

#pragma GCC visibility push(default)

// Copies the node's text, at most 69 characters and with its line end, to `out` (70 bytes) and its length to *len, the
// empty text when it cannot be read; 0.
int get_touch_version(char* out, int* len);

// 0 when the version begins with the expected one, whose last character is a request's line end and does not count; 1
// when it does not, is not there, or the expected one is empty.
int touch_version_compare(const char* expected);

// The decimal number that a text begins with; 0 where it does not begin with a digit, 2147483647 for a larger one.
int touch_atoi(const char* text);

#pragma GCC visibility pop
