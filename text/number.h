// Numbers in text.
#pragma once

namespace atd {

// Reads a text that is one decimal number of 32 bits, with spaces and a sign before it and spaces and line ends after
// it; false for any other text.
bool parse_number(const char* text, int* number);

// The decimal number that a text begins with, after blanks and a sign; 0 where there is none, and the nearest number of
// 32 bits for one that has more.
int leading_number(const char* text);

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }

}  // namespace atd
