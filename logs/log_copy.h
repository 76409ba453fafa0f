// Copying a log folder line by line.
#pragma once

#pragma GCC visibility push(default)

// Copies a folder with all that is below it into another one, which is made when it is not there; both end in "/". The
// files are copied line by line, with pieces of 255 characters: what follows a NUL in a piece is lost. A link of the
// source is copied as what it leads to. A file's source path is cut at 255 characters. What
// cannot be copied is left out, and so is a folder with so long a path, a link of the destination, and a folder that
// would be copied into itself.
void copy_log(char* destination, char* source);

#pragma GCC visibility pop
