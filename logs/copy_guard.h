// What keeps a copy of folders inside of its target, and lets a walk end that follows links. Paths are absolute device
// paths.
#pragma once

#include <stddef.h>
#include <string.h>
#include <sys/stat.h>

namespace atd {

// A path in a buffer of fixed size that a walk makes longer and shorter.
template <size_t capacity>
class WalkPath {
 public:
  // Adds a text; false, with the path as it was, when it does not fit.
  bool add(const char* text) {
    const size_t length = strlen(text);
    if (length >= capacity - length_) return false;
    memcpy(text_ + length_, text, length + 1);
    length_ += length;
    return true;
  }

  // Adds a name that a folder at its end contains; false, with the path as it was, when it does not fit.
  bool add_name(const char* name) {
    const size_t before = length_;
    if (add("/") && add(name)) return true;
    shrink(before);
    return false;
  }

  void shrink(size_t length) { text_[length_ = length] = '\0'; }
  size_t length() const { return length_; }
  const char* text() const { return text_; }

 private:
  char text_[capacity] = "";
  size_t length_ = 0;
};

// A folder that a copy is in, and what it is copied to.
class CopyLevel {
 public:
  // `outer` is the level of the folder around it, or null; it outlives this one. The destination need not be there, and
  // is null for a walk that writes to no folder.
  CopyLevel(const CopyLevel* outer, const char* source, const char* destination);

  // True when the source is its own destination, or a folder that the copy is in or writes to: a link led there, and
  // the copy would not end.
  bool goes_round() const;

  // Says that the destination has been made.
  void made(const char* destination) { destination_ = id_of(destination); }

 private:
  struct Id {
    bool known;
    // On the phone dev_t and ino_t have fewer bits.
    decltype(stat::st_dev) device;
    decltype(stat::st_ino) inode;
    bool operator==(const Id& other) const {
      return known && other.known && device == other.device && inode == other.inode;
    }
  };
  static Id id_of(const char* path);

  const CopyLevel* outer_;
  Id source_, destination_;
};

}  // namespace atd
