// Whole-file helpers of the simulated phone.
#pragma once

#include <string>

namespace atd::sim {

// Which file a path names whose last part is a link: the one that the link leads to, or the link itself.
enum class Last { followed, itself };

// The place below the folder `root` of an absolute path of the phone, with links resolved as for a process whose root
// that folder is: neither a link nor ".." leads above it. A missing part is kept as it is written. "" with errno ELOOP
// where links go round in circles. What somebody changes in the folder meanwhile is not seen.
std::string resolve(const std::string& root, const std::string& path, Last last = Last::followed);

// True for a FIFO and a device node, which hold up or mislead who opens them in place of a file. Does not follow a
// link.
bool is_pipe_or_device(const std::string& path);

// Reads what follows in an open file; false with errno when it cannot be read.
bool read_rest(int fd, std::string* content);

// Writes bytes to an open file; false with errno, which is ENOSPC where none are taken.
bool write_rest(int fd, const std::string& content);

// Reads a whole file; false with errno when it cannot be read, or is a link or no file.
bool read_file(const std::string& path, std::string* content);

// Replaces a file by one with this content, whole or not at all even when the process is killed; false with errno. One
// that is `synced` is on the medium when this returns, with its name: a power loss does not take it back.
bool write_file(const std::string& path, const std::string& content, bool synced = false);

// Waits until the names in a folder are on the medium; false with errno.
bool sync_folder(const std::string& path);

// Makes a folder PREFIX-XXXXXX for what goes away, in TMPDIR or /tmp: its path; "" with a sentence in *error.
std::string make_temporary(const std::string& prefix, std::string* error);

// Removes the unfinished files that killed writers have left in a folder.
void remove_leftovers(const std::string& folder);

// Makes a folder and those above it; false with errno.
bool make_folders(const std::string& path);

// Removes what is in a folder, but not the folder; follows no link, not even in the folder's place. False when
// something stays.
bool empty_folder(const std::string& path);

}  // namespace atd::sim
