// Whole-file helpers of the simulated phone.
#pragma once

#include <string>

namespace atd::sim {

// Reads a whole file; false with errno when it cannot be read.
bool read_file(const std::string& path, std::string* content);

// Replaces a file by one with this content, whole or not at all even when the process is killed; false with errno.
bool write_file(const std::string& path, const std::string& content);

// Removes the unfinished files that killed writers have left in a folder.
void remove_leftovers(const std::string& folder);

// Makes a folder and those above it; false with errno.
bool make_folders(const std::string& path);

// Removes what is in a folder, but not the folder.
void empty_folder(const std::string& path);

}  // namespace atd::sim
