// The platform's access to the nodes of the kernel.
#pragma once

extern "C" {

// Reads a node's text, with its line end, in one read into buffer, which holds `size` bytes, and terminates it; the
// text's length, or a negative error number with the empty text when the node cannot be read.
int unified_sysfs_read(const char* path, char* buffer, int size);

// Writes a text to an existing node in one write; the text's length, or a negative error number.
int unified_sysfs_write(const char* path, const char* text);

}  // extern "C"
