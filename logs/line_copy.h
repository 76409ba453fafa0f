// Copying text line by line, in blocks.
#pragma once

#include <stddef.h>

namespace atd {

// Takes out of a stream of bytes what a copy line by line with a buffer of 256 bytes loses. Such a copy takes pieces
// that end at a line end, or after 255 characters, and puts each one as a text: what follows a NUL in a piece is lost,
// the line end included.
class LineFilter {
 public:
  // Takes the stream's next bytes, moves those that stay to the front of the block, and returns their number.
  size_t filter(char* block, size_t size);

 private:
  size_t column_ = 0;   // in the piece that the stream is in
  bool loses_ = false;  // the rest of the piece
};

// Copies what follows in an open file to another one through the filter; 0, or -1 with errno when one of them cannot be
// read or written. What was read before that is there.
int copy_lines(int source, int destination);

}  // namespace atd
