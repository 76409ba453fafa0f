#include "logs/block_crc.h"

#include <string.h>
#include <zlib.h>

namespace atd {

namespace {

// A CRC is a remainder, so a block may give way to a shorter one with the same remainder. The polynomial divides
// 1 + x^89 + x^117 + x^155 + x^300: a bit may be moved behind its place by 145, 183, 211 and 300 bits at once. That
// takes shifts and no tables, and two blocks go through a 128-bit register side by side. What is left, 40 bytes of each
// block, goes to zlib. Where a processor has no such registers, the compiler makes do with what it has.
constexpr uint32_t kPolynomial = 0x04C11DB7;

constexpr uint32_t power_of_x(int exponent) {
  uint32_t power = 1;
  while (exponent-- > 0) power = power << 1 ^ (power & 0x80000000 ? kPolynomial : 0);
  return power;
}
static_assert((power_of_x(0) ^ power_of_x(89) ^ power_of_x(117) ^ power_of_x(155) ^ power_of_x(300)) == 0,
              "the polynomial divides the sum");

// A word of each of two blocks, and two words of one.
using Pair = uint64_t __attribute__((vector_size(16)));

constexpr size_t kWords = kBlockSize / sizeof(uint64_t);
constexpr size_t kLeft = 5;  // words, what the longest move needs

inline Pair two_words(const uint8_t* block, size_t word) {
  Pair words;
  memcpy(&words, block + word * sizeof(uint64_t), sizeof words);
  return words;
}

// What was moved into the next words.
struct Moved {
  Pair word[kLeft];

  // Moves the bits of the next word.
  void take(Pair next) {
    const Pair bits = next ^ word[0];
    word[0] = word[1];
    word[1] = word[2] ^ bits << 17 ^ bits << 55;
    word[2] = word[3] ^ bits >> 47 ^ bits >> 9 ^ bits << 19;
    word[3] = word[4] ^ bits >> 45 ^ bits << 44;
    word[4] = bits >> 20;
  }
};

uint32_t pair_sum(const uint8_t* blocks) {
  const uint8_t* second = blocks + kBlockSize;
  // A CRC-32 begins with 32 ones in front.
  Moved moved = {{{0xFFFFFFFF, 0xFFFFFFFF}}};
  size_t at = 0;
  for (; at < kWords - kLeft - 1; at += 2) {
    const Pair a = two_words(blocks, at), b = two_words(second, at);
    moved.take(Pair{a[0], b[0]});
    moved.take(Pair{a[1], b[1]});
  }
  const Pair a = two_words(blocks, at), b = two_words(second, at);
  moved.take(Pair{a[0], b[0]});
  uint32_t sum = 0;
  for (size_t block = 0; block < 2; ++block) {
    uint64_t left[kLeft];
    memcpy(left, blocks + block * kBlockSize + (kWords - kLeft) * sizeof left[0], sizeof left);
    for (size_t i = 0; i < kLeft; ++i) left[i] ^= moved.word[i][block];
    // The ones are in already; this start is zlib's for none.
    sum += static_cast<uint32_t>(crc32(0xFFFFFFFF, reinterpret_cast<const Bytef*>(left), sizeof left));
  }
  return sum;
}

}  // namespace

uint32_t block_crc_sum(const uint8_t* blocks, size_t count) {
  uint32_t sum = 0;
  for (; count >= 2; count -= 2, blocks += 2 * kBlockSize) sum += pair_sum(blocks);
  return count == 0 ? sum : sum + static_cast<uint32_t>(crc32(0, blocks, kBlockSize));
}

}  // namespace atd
