// Files read and written whole or from their start, as the kernel's nodes are. Paths are the phone's own, absolute.
#pragma once

#pragma GCC visibility push(default)

// 0 when the file opens for reading, else -1.
int check_sysfs(const char* path);

// Reads the first n bytes into buffer, which holds n bytes, and fills what a shorter file leaves with zeros; a longer
// one is not terminated. Returns n, however much there was, or -1 when the file cannot be opened.
int read_sysfs(const char* path, void* buffer, int n);

// Reads a whole file, at most the 4096 bytes of a node, into buffer, which holds 4097, and terminates it. Returns its
// size, or -1 when the file cannot be opened.
int read_sysfs(const char* path, void* buffer);

// Makes n bytes the content of a file that is there; 0, or -1 when it cannot be opened or does not take them all.
int write_sysfs(const char* path, const void* buffer, int n);

// Makes n bytes the content of a file that need not be there, with the owner, the group and the mode of a directory,
// which is made with the mode 0755 when the file cannot be opened; only its last part may be missing. 0, or -1 when the
// file cannot be opened or does not take all bytes. An owner that cannot be given is only logged.
int write_eri_sysfs(const char* path, const char* directory, const void* buffer, int n);

#pragma GCC visibility pop
