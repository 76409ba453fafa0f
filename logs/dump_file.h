// The files that dumps are written to.
#pragma once

#include <stdio.h>

namespace atd {

// Makes a file at a device path anew, for writing. Neither a link nor a pipe in its place is written to. Null when it
// cannot be made; else close_dump closes it.
FILE* open_dump(const char* path);

// Closes it, and reports when not all could be written.
void close_dump(FILE* dump);

}  // namespace atd
