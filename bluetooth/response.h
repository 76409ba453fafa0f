// How a Bluetooth command answers.
#pragma once

#pragma GCC visibility push(default)

// Copies the text to `out` where neither is null, and returns the result.
int bt_resp(int result, char* out, const char* text);

#pragma GCC visibility pop
