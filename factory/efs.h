// The modem's file system. Its functions take no lock: the caller makes no other modem request meanwhile.
#pragma once

#pragma GCC visibility push(default)

// Open and close the modem interface for a client handle; 0, or the interface's error.
int efs_init(int client);
int efs_release(int client);

// Opens a file with the modem's flags and mode; the modem's descriptor, negative on failure. A path is cut at 128
// characters. 0 may also mean that the modem did not answer.
int efs_open(const char* path, int flags, int mode);

// Close a descriptor, and remove a file; the modem's result, negative on failure.
int efs_close(int fd);
int efs_unlink(const char* path);

// Read and write `count` bytes in chunks of 2032; the number of bytes done. A short chunk does not end a read, and the
// bytes after it keep their place in the buffer.
int efs_read(int fd, void* buffer, int count);
int efs_write(int fd, const void* buffer, int count);

#pragma GCC visibility pop
