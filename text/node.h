// The small text files of /sys and /proc. A path is the phone's own, absolute.
#pragma once

#include <stddef.h>

namespace atd {

// Reads the start of a node into text, which holds `size` bytes, at least 1, and takes line ends off its end; the
// text's length. -1 with errno and the empty text when the node cannot be read.
int read_node(const char* path, char* text, size_t size);

// Reads the decimal number that a node's text begins with, as 32 bits; 0. -1 with *number unchanged when the node
// cannot be read or does not begin with a number.
int read_node_number(const char* path, int* number);

// Writes a text to a node that is there, in one write; 0. -1 with errno when it cannot be opened or did not take all
// of the text.
int write_node(const char* path, const char* text);

}  // namespace atd
