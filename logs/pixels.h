// Rows of pixels of the screen. Without branches, so that a picture's content costs no time, and in blocks of a fixed
// size, which compilers turn into vector instructions.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace atd {

// Converts `count` pixels of 32 bits, red in the lowest byte, then green and blue, to 16 bits: red in bits 11 to 15,
// green in 5 to 10, blue in 0 to 4. The two rows do not overlap.
void to_565(const uint32_t* pixels, size_t count, uint16_t* out);

// Writes one bit for each of `count` pixels of two bytes, into (count + 7) / 8 bytes, the first pixel in a byte's
// highest bit: 1 where the brightness, 2 * red + green + 2 * blue, 0 to 187, is greater than `limit`. The first byte of
// a pixel counts as the high one, which is not how to_565 stores it: thresholds have always been tuned to that.
void to_bits(const uint8_t* pixels, size_t count, int limit, uint8_t* out);

}  // namespace atd
