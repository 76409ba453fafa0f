// The records of crashes in the factory items.
#pragma once

#pragma GCC visibility push(default)

// Writes the number of crashes, in decimal, to out (12 bytes) and its length to *length; 0, or -1 with the empty text
// when it cannot be read.
int get_crash_count(char* out, int* length);

// Sets the number of crashes to 0; 0, or -1 when it cannot be written.
int erase_crash_count();

// Copies the first `count` records, at most five, to files in "/data/logger/crash_info/", and writes the second line of
// each, without its first two characters, to out (256 bytes, cut there), with ";" between them, and the length to
// *length. 0, or 1 with the empty text when a record cannot be read or its file cannot be written and read back.
int crash_log_save(char* out, int* length, int count);

#pragma GCC visibility pop
