// Deleting the user's data without the platform's wipe: the phone's deletion service empties /data.
#pragma once

#pragma GCC visibility push(default)

// Starts the deletion service and waits up to five seconds for its end; 0, or 1 when it does not end, or leaves as many
// entries below /data as there were. The entries are not compared when the property was "0" before. On success logs
// what is left.
int factory_delete();

// Counts what is below the folder at an absolute device path, folders included; links are not followed. What cannot be
// read is reported and does not count.
int dir_count(const char* path);

// Logs the path of each of these.
void dir_print(const char* path);

#pragma GCC visibility pop
