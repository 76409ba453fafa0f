// Reading a node for one of the readings.
#pragma once

namespace atd {

// Reads a node's text, with its line end, into a buffer of `size` bytes; 0, or 1 with the empty text and the complaint,
// followed by the error number, as an error line.
int read_or_complain(const char* node, const char* complaint, char* text, int size);

// Reads a node's text, with its line end, into a buffer of `size` bytes; 0, or 1 with the empty text and an error line
// that begins with the function's name.
int read_text(const char* node, const char* function, char* text, int size);

// Reads the number that the first 10 bytes of a node begin with, 0 where they do not; 0, or 1 with *number as it was
// and an error line that begins with the function's name.
int read_value(const char* node, const char* function, int* number);

}  // namespace atd
