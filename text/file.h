// Files: opened without waiting, read and written to the end. Paths are device paths.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

namespace atd {

// What the process has read so far: the files that open_file() and count_file() have counted, the bytes of
// read_up_to().
struct ReadSoFar {
  uint64_t files, bytes;
};
ReadSoFar read_so_far();

// Counts a file that was opened otherwise.
void count_file();

// Opens a file for reading; a descriptor, or -1 with errno, which is EINVAL for what is not a file.
int open_file(const char* path);

// Opens a file for writing, and makes it with the mode where there is none; `flags` may be O_TRUNC. A descriptor, or -1
// with errno, which is EINVAL for what is there and is not a file, links included.
int open_target(const char* path, int flags, mode_t mode);

// Makes a file anew with the mode 0644, in place of a file, a link or a pipe; `access` is O_WRONLY or O_RDWR. A
// descriptor, or -1 with errno.
int open_new(const char* path, int access);

// Whether this is a link. The path has no "/" at its end.
bool is_link(const char* path);

// Reads `size` bytes, or fewer at the end or a failure; their number, with errno 0 but for a failure.
size_t read_up_to(int fd, void* out, size_t size);

// Writes all bytes; false with errno, which is ENOSPC where none are taken.
bool write_all(int fd, const void* bytes, size_t size);

}  // namespace atd
