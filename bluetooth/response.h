// How a Bluetooth command answers.
#pragma once

#pragma GCC visibility push(default)

// Copies the text with its terminator to `out`, which has room for it, where neither is null; returns the result.
int bt_resp(int result, char* out, const char* text);

#pragma GCC visibility pop
