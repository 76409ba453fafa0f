// Numbers in text.
#pragma once

namespace atd {

// Reads a text that is one decimal number, as 32 bits; false for any other text.
bool parse_number(const char* text, int* number);

}  // namespace atd
