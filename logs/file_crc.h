// The CRC of the phone's files: of the sizes of the system's, and of the contents of the operator's and the preloaded
// ones. Links are not followed. Some folders have rules: below "/data/preload" only regular files count whose names
// contain ".apk"; below "/cust" nothing of the name "_COTA_RES", and below "/OP" nothing of the name "_SMARTCA_RES".
#pragma once

#include <stdint.h>
#include <stdio.h>
#include <sys/stat.h>

#include <map>
#include <string>

#pragma GCC visibility push(default)

// Writes the CRC-32 of the phone's files as eight hex digits into out (9 bytes), and a line for each file to list,
// which may be null; always 1. A line of a size has at most 255 characters. What cannot be read is reported and left
// out.
int file_crc(char* out, FILE* list);

// Goes on with a CRC over the lowest byte of the size of all that is below the folder `root` and no folder, in the
// order of the paths, without what the skip list names; writes a line for each to list, which may be null. Returns the
// CRC.
uint32_t getfilesizecrc(const char* root, uint32_t crc, FILE* list);

// Goes on with the CRC that the last file_crc or find_file of the process has ended with, over the contents of the
// regular files below the folder `dir`, in its own order; writes a line for each to list, which may be null. A path of
// 256 bytes or more is reported and left out. Returns 0, or 1 when the folder cannot be opened.
int find_file(const char* dir, FILE* list);

// Adds all that is below the folder `dir` and no folder to the list, by its path. What cannot be looked at is reported.
void get_file_list(std::string dir, std::map<std::string, struct stat>& list);

// Removes what /system/etc/file_crc_skip_list.txt names, one path a line, from the list.
void skip_file_list(std::map<std::string, struct stat>& list);

#pragma GCC visibility pop
