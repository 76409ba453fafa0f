// The hardware version.
#pragma once

#pragma GCC visibility push(default)

// Writes the hardware version of the kernel's command line to `out` (6 bytes), such as "1.0", "2" for an evaluation
// board or "0.b1", and its length to *length. Returns 0, or 1 with the empty text and the length 0 when the command
// line cannot be read or names no version, or a reserved one.
int get_tav_hw_version(char* out, int* length);

#pragma GCC visibility pop
