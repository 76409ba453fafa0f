// Numbers in text.
#pragma once

namespace atd {

// The decimal number that a text consists of, as 32 bits; false for any other text.
bool parse_number(const char* text, int* number);

}  // namespace atd
