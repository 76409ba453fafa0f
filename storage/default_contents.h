// The list of the card's default contents.
#pragma once

#include <stdio.h>

#pragma GCC visibility push(default)

// An entry of the list, which is linked both ways: a file, or an empty folder, and the size that the list says it has.
struct default_content {
  default_content* previous;
  default_content* next;
  int size;
  char* path;  // the card's folder and the path on the card
};

// Reads a line into buf (1024 bytes), without its newline and terminated; what is longer is read and left out. Returns
// the line's length, or -1 at the end of the file, which also ends a last line without a newline.
int ReadLine(FILE* file, char* buf);

// Cuts the white space at a text's end off and returns the place of the first character behind the white space at its
// beginning.
char* trimwhitespace(char* text);

// Reads the list of the default contents of the card whose folder is `root`, until the end of the file or a line that
// is wrong, which is reported. Returns the first entry, or null for an empty list; the caller gives each entry to
// free().
default_content* read_configure_file(FILE* stream, const char* root);

#pragma GCC visibility pop

namespace atd {

// A list of default contents, which finds an entry by its path as fast in a long list as in a short one.
class DefaultContents {
 public:
  DefaultContents() = default;
  ~DefaultContents();
  DefaultContents(const DefaultContents&) = delete;
  DefaultContents& operator=(const DefaultContents&) = delete;

  // Takes over the list that begins with this entry, once; false without the memory to find its entries by path.
  bool take_over(default_content* first);

  // The first entry that is left, or null.
  const default_content* first() const { return first_; }

  // Removes the first entry with this path; false when there is none.
  bool take(const char* path);

 private:
  default_content* first_ = nullptr;
  default_content** places_ = nullptr;  // at least half of them are empty
  size_t mask_ = 0;
};

}  // namespace atd
