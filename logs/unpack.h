// Unpacking one entry of an archive.
#pragma once

#include <unzip.h>

#pragma GCC visibility push(default)

// Makes a folder and those above it; 1, also when a part is there or cannot be made, 0 for the empty path and when the
// folder around a part is missing, or -104 without memory. A relative path leads neither upwards nor through a link.
int makedir(const char* path);

// Unpacks the current entry into the working folder: under its whole name, or with *without_paths under the last part
// of it. A file that is there is replaced when *overwrite is set; else standard input is asked, whose end ends the
// process with status 1 and whose "A" sets *overwrite. `password` (null: none) is for an encrypted entry. Returns 0,
// also for a folder with *without_paths, which makes none; or an error of minizip or zlib, -1 when the file cannot be
// written, -103 for a name that is longer than 255 bytes or leads out of the working folder, -104 without memory. No
// link is followed.
int do_extract_currentfile(unzFile archive, int* without_paths, int* overwrite, const char* password);

#pragma GCC visibility pop
