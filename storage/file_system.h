// What a file system says about itself.
#pragma once

#include <stdint.h>

#pragma GCC visibility push(default)

// The size in bytes of the file system on the block device at an absolute device path, as the super block of ext4 or
// f2fs has it; 0 when it cannot be read or is of another kind.
uint64_t get_fs_size(const char* device);

#pragma GCC visibility pop
