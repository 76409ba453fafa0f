// Copying files and folders as they are. Paths are absolute device paths.
#pragma once

#pragma GCC visibility push(default)

// Copies a file over another one, which is made with the mode 0222 when it is not there; one that is longer keeps its
// end. 0, or -1 when one of them is no file, or cannot be opened, read or written whole.
int copy_file(const char* source, const char* destination);

// Copies the files and folders of a folder, and what links lead to, into a folder that is made when it is not there.
// What cannot be copied is left out, and so are paths of more than 511 characters, links of the destination, and a
// folder that would be copied into itself. Always 0.
int copy_dir(const char* source, const char* destination);

#pragma GCC visibility pop
