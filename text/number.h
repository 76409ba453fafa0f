// Numbers in text.
#pragma once

namespace atd {

// Reads a text that is one decimal number of 32 bits, with spaces and a sign before it and spaces and line ends after
// it; false for any other text.
bool parse_number(const char* text, int* number);

}  // namespace atd
