#include "storage/tree_walk.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>

#include <new>
#include <utility>

#include "platform/log.h"

namespace atd {

void TreeWalk::report_closed(const char* path) { SLOGE("directory open fail. %s\n", path); }

TreeWalk::TreeWalk(const char* who, const char* root, Report closed) : who_(who), closed_(closed) {
  const size_t length = strlen(root);
  errno = ENAMETOOLONG;
  if (length < sizeof path_) {
    memcpy(path_, root, length + 1);
    open_[0].folder.reset(new (std::nothrow) Folder(root));
    open_[0].path_length = length;
    if (open_[0].folder && open_[0].folder->is_open()) depth_ = 1;
  }
  if (depth_ == 0) closed_(root);
}

// The folder's next entry, or null with errno 0 after the last one.
const struct dirent* TreeWalk::read(Folder& folder) {
  errno = 0;
  return folder.next();
}

TreeWalk::Step TreeWalk::next() {
  while (depth_ > 0) {
    Level& top = open_[depth_ - 1];
    const struct dirent* entry = pending_ ? std::exchange(pending_, nullptr) : read(*top.folder);
    if (!entry) {
      const int error = errno;
      path_[top.path_length] = '\0';
      top.folder.reset();
      --depth_;
      if (error == 0) continue;
      SLOGE("[%s] Error : Can not read folder %s. errno %d(%s)\n", who_, path_, error, strerror(error));
      return Step::failed;
    }
    const size_t length = strlen(entry->d_name);
    if (top.path_length + 1 + length + 1 > sizeof path_) {
      path_[top.path_length] = '\0';
      SLOGE("[%s] Error : Too long a path : %s in %s\n", who_, entry->d_name, path_);
      return Step::skipped;
    }
    path_[top.path_length] = '/';
    memcpy(path_ + top.path_length + 1, entry->d_name, length + 1);
    type_ = entry->d_type;
    struct stat status;
    // The DT_ values are the type bits of a mode.
    if (type_ == DT_UNKNOWN && fstatat(folder(), name(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
      type_ = static_cast<unsigned char>((status.st_mode & S_IFMT) >> 12);
    }
    return type_ == DT_DIR ? Step::folder : Step::file;
  }
  return Step::end;
}

TreeWalk::Entered TreeWalk::enter() {
  if (depth_ == kMaxDepth) {
    SLOGE("[%s] Error : More than %d folders deep : %s\n", who_, kMaxDepth, path_);
    return Entered::failed;
  }
  std::unique_ptr<Folder> child(new (std::nothrow) Folder(folder(), name()));
  pending_ = child && child->is_open() ? read(*child) : nullptr;
  if (!pending_ && child && errno == 0) return Entered::empty;
  if (!pending_) {
    closed_(path_);
    return Entered::failed;
  }
  open_[depth_].folder = std::move(child);
  open_[depth_].path_length = strlen(path_);
  ++depth_;
  return Entered::yes;
}

}  // namespace atd
