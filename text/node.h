// The small text files of /sys and /proc. A path is the phone's own, absolute.
#pragma once

#include <stddef.h>

namespace atd {

// Reads the start of a node into text, which holds `size` bytes, at least 1, and removes the line ends at its end.
// Returns the text's length, or -1 with errno and the empty text when the node cannot be read.
int read_node(const char* path, char* text, size_t size);

// Reads the decimal number that a node's text begins with, as 32 bits. Returns 0, or -1 with *number unchanged when the
// node cannot be read or does not begin with such a number.
int read_node_number(const char* path, int* number);

// Writes a text to an existing node, in one write. Returns 0, or -1 with errno when the node cannot be opened or does
// not take the whole text.
int write_node(const char* path, const char* text);

}  // namespace atd
