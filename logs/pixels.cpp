#include "logs/pixels.h"

#include <string.h>

#include <algorithm>

namespace atd {

namespace {

constexpr size_t kBlock = 16;
constexpr int kBrightest = 187;

uint32_t one_565(uint32_t p) { return ((p << 8) & 0xF800) | ((p >> 5) & 0x07E0) | ((p >> 19) & 0x001F); }

// The same in the upper half of a word.
uint32_t upper_565(uint32_t p) { return ((p << 24) & 0xF8000000) | ((p << 11) & 0x07E00000) | ((p >> 3) & 0x001F0000); }

// Of a pixel whose bytes were read the wrong way round: the upper three bits of green lie below red, the lower three
// above blue.
int16_t brightness(uint16_t p) {
  return static_cast<int16_t>(((p >> 2) & 0x3E) + ((p << 3) & 0x38) + (p >> 13) + ((p >> 7) & 0x3E));
}

// One bit for each of 16 pixels, the first in the highest bit.
inline unsigned block_to_bits(const uint8_t* pixels, int16_t limit) {
  uint8_t bright[kBlock];
  for (size_t i = 0; i < kBlock; ++i) {
    uint16_t pixel;
    memcpy(&pixel, pixels + 2 * i, sizeof pixel);
    bright[i] = brightness(pixel) > limit;
  }
  uint64_t halves[2];
  memcpy(halves, bright, sizeof halves);
  // Each byte is 0 or 1; the product brings byte n to bit 63 - n.
  for (uint64_t& half : halves) half = half * 0x8040201008040201 >> 56;
  return static_cast<unsigned>(halves[0] << 8 | halves[1]);
}

}  // namespace

void to_565(const uint32_t* __restrict pixels, size_t count, uint16_t* __restrict out) {
  for (; count >= kBlock; count -= kBlock, pixels += kBlock, out += kBlock) {
    for (size_t i = 0; i < kBlock; i += 2) {
      // Two pixels make a word: narrowing is slow where the processor has no instruction for it.
      const uint32_t two = one_565(pixels[i]) | upper_565(pixels[i + 1]);
      memcpy(out + i, &two, sizeof two);
    }
  }
  for (size_t i = 0; i < count; ++i) out[i] = static_cast<uint16_t>(one_565(pixels[i]));
}

void to_bits(const uint8_t* __restrict pixels, size_t count, int limit, uint8_t* __restrict out) {
  const int16_t compared = static_cast<int16_t>(std::clamp(limit, -1, kBrightest));
  for (; count >= kBlock; count -= kBlock, pixels += 2 * kBlock) {
    const unsigned bits = block_to_bits(pixels, compared);
    *out++ = static_cast<uint8_t>(bits >> 8);
    *out++ = static_cast<uint8_t>(bits);
  }
  uint8_t rest[2 * kBlock] = {};
  memcpy(rest, pixels, 2 * count);
  // What follows the row's last pixel stays dark.
  const unsigned bits = block_to_bits(rest, compared) & ~(0xFFFFu >> count);
  if (count > 0) *out++ = static_cast<uint8_t>(bits >> 8);
  if (count > 8) *out++ = static_cast<uint8_t>(bits);
}

}  // namespace atd
