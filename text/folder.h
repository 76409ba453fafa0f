// The entries of a folder, one after the other.
#pragma once

#include <dirent.h>

namespace atd {

// Gives the entries of a folder except "." and "..": while (const dirent* entry = folder.next()) ...
class Folder {
 public:
  // Opens the folder of an absolute device path; one that cannot be opened has no entries.
  explicit Folder(const char* path);

  // Opens the folder `name` in the folder of an open descriptor. A link is not followed.
  Folder(int parent, const char* name);
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  // False with errno when the folder could not be opened.
  bool is_open() const { return stream_ != nullptr; }

  // The next entry, valid until the next call; null after the last one.
  const struct dirent* next();

  // A descriptor for openat and similar calls, or -1; the Folder closes it.
  int fd() const { return stream_ ? dirfd(stream_) : -1; }

 private:
  DIR* stream_;
};

}  // namespace atd
