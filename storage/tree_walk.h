// A walk through all that lies below a folder. Its memory and its open descriptors depend on the depth alone. It does
// not follow links.
#pragma once

#include <dirent.h>
#include <limits.h>
#include <stddef.h>

#include <memory>

#include "text/folder.h"

namespace atd {

class TreeWalk {
 public:
  // What next() came upon. `skipped` is an entry whose path is too long, `failed` a folder's rest that cannot be read:
  // both are reported, and the walk can go on after them.
  enum class Step { end, file, folder, skipped, failed };

  // What enter() did. A failure is reported; the walk can go on after the folder.
  enum class Entered { yes, empty, failed };

  // What reports a folder that cannot be opened, with errno.
  using Report = void (*)(const char* path);
  static void report_closed(const char* path);

  // Opens the folder of an absolute device path; a failure is reported. Reports are made in the name of the function
  // `who`.
  TreeWalk(const char* who, const char* root, Report closed = report_closed);

  bool is_open() const { return depth_ > 0; }

  // Goes on to the next entry. A link is a file.
  Step next();

  // Enters the folder that next() came upon: its entries are the next ones.
  Entered enter();

  // The entry that next() came upon: its absolute path, its path below the root, its name, and the descriptor of its
  // folder.
  const char* path() const { return path_; }
  const char* relative() const { return path_ + open_[0].path_length + 1; }
  const char* name() const { return path_ + open_[depth_ - 1].path_length + 1; }
  int folder() const { return open_[depth_ - 1].folder->fd(); }

  // Its type, DT_REG and so on; DT_UNKNOWN when it cannot be looked at.
  unsigned char type() const { return type_; }

 private:
  // Each open folder takes a descriptor.
  static constexpr int kMaxDepth = 256;

  struct Level {
    std::unique_ptr<Folder> folder;
    size_t path_length;
  };

  const struct dirent* read(Folder& folder);

  const char* who_;
  const Report closed_;
  char path_[PATH_MAX];
  Level open_[kMaxDepth];
  int depth_ = 0;
  unsigned char type_ = DT_UNKNOWN;
  // The first entry of a folder that was just entered.
  const struct dirent* pending_ = nullptr;
};

}  // namespace atd
