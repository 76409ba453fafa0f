// Sizes of the SD card, the internal storage and the RAM.
#pragma once

#include <stdint.h>

#pragma GCC visibility push(default)

// Writes the size of the mounted card's file system in KiB into out (21 bytes); 0, or 1 with the empty text when the
// card has no id or is not mounted, or its size cannot be read.
int mmc_mmctotalsize(char* out);

// Writes the bytes that the mounted card's files take into out (21 bytes), without those of the folders that the system
// makes; 0, or 1 with the empty text when the card has no id or is not mounted, or a folder cannot be opened.
int mmc_mmcusedsize(char* out);

// The size in bytes of the file at an absolute device path, or of all files below a folder, without the entries named
// LOST.DIR, Android, RZBackup and .android_secure. A link below the folder is a file. What has too long a path is
// reported and left out. -1 when the path or anything below it cannot be looked at, or it is more than 256 folders
// deep.
int64_t recursive_dir_check(const char* path);

// 1 when the folder at an absolute device path holds an entry, 0 when it holds none, -1 when it cannot be opened.
int is_empty_dir(const char* path);

// Writes the size of the internal eMMC in MiB into out (11 bytes); 0, or 1 with the empty text when it cannot be read.
int mmc_emmccapacity(char* out);

// Writes the size of the UFS, all of its units, in MiB into out (11 bytes); 0. A unit that cannot be read has none.
int mmc_ufscapacity(char* out);

// 1 when the phone has booted from UFS, 0 for eMMC and when nobody can tell.
int mmc_storage_isufs();

// The size of the RAM in MiB, 0 when it cannot be read.
int ram_memory_size();

#pragma GCC visibility pop
