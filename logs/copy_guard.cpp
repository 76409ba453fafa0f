#include "logs/copy_guard.h"

#include "platform/os.h"

namespace atd {

CopyLevel::CopyLevel(const CopyLevel* outer, const char* source, const char* destination)
    : outer_(outer), source_(id_of(source)), destination_(id_of(destination)) {}

CopyLevel::Id CopyLevel::id_of(const char* path) {
  struct stat status;
  if (!path || stat(device_path(path), &status) != 0) return {};
  return {true, status.st_dev, status.st_ino};
}

bool CopyLevel::goes_round() const {
  if (source_ == destination_) return true;
  for (const CopyLevel* level = outer_; level; level = level->outer_) {
    if (source_ == level->source_ || source_ == level->destination_) return true;
  }
  return false;
}

}  // namespace atd
