#include "transport/base64.h"

#include <stdint.h>
#include <string.h>

#include <array>

namespace atd {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint32_t kInvalid = 0xFFFFFFFF;

struct Pair {
  char text[2];
};

// The two characters of each 12-bit value: half the look-ups of one character at a time.
constexpr auto kPairs = [] {
  std::array<Pair, 4096> table{};
  for (unsigned i = 0; i < table.size(); ++i) table[i] = {{kAlphabet[i >> 6], kAlphabet[i & 63]}};
  return table;
}();

// The six bits of each character, shifted to their place in a group of four; all bits set for a foreign character.
constexpr std::array<uint32_t, 256> values_shifted_by(int shift) {
  std::array<uint32_t, 256> table{};
  for (uint32_t& value : table) value = kInvalid;
  for (uint32_t i = 0; i < 64; ++i) table[static_cast<uint8_t>(kAlphabet[i])] = i << shift;
  return table;
}

constexpr auto kValue = values_shifted_by(0);
constexpr auto kValue6 = values_shifted_by(6);
constexpr auto kValue12 = values_shifted_by(12);
constexpr auto kValue18 = values_shifted_by(18);

}  // namespace

int base64_encode(const void* src, int len, char* dst) {
  const uint8_t* in = static_cast<const uint8_t*>(src);
  char* out = dst;
  for (; len >= 3; len -= 3, in += 3, out += 4) {
    uint32_t group = static_cast<uint32_t>(in[0] << 16 | in[1] << 8 | in[2]);
    memcpy(out, kPairs[group >> 12].text, 2);
    memcpy(out + 2, kPairs[group & 0xFFF].text, 2);
  }
  if (len > 0) {
    uint32_t group = static_cast<uint32_t>(in[0] << 16 | (len == 2 ? in[1] << 8 : 0));
    memcpy(out, kPairs[group >> 12].text, 2);
    out[2] = len == 2 ? kAlphabet[group >> 6 & 63] : '=';
    out[3] = '=';
    out += 4;
  }
  *out = '\0';
  return static_cast<int>(out - dst);
}

int base64_decode(const char* src, void* dst, int max) {
  const uint8_t* in = reinterpret_cast<const uint8_t*>(src);
  uint8_t* const start = static_cast<uint8_t*>(dst);
  uint8_t* out = start;
  uint8_t* const end = start + (max > 0 ? max : 0);
  uint32_t bits = 0;
  int position = 0;
  while (true) {
    // The common case: four valid characters make a group. A NUL is invalid, so nothing after it is read.
    while (position == 0 && end - out >= 3) {
      uint32_t a, b, c, d;
      if ((a = kValue18[in[0]]) == kInvalid || (b = kValue12[in[1]]) == kInvalid || (c = kValue6[in[2]]) == kInvalid ||
          (d = kValue[in[3]]) == kInvalid) {
        break;
      }
      uint32_t group = a | b | c | d;
      out[0] = static_cast<uint8_t>(group >> 16);
      out[1] = static_cast<uint8_t>(group >> 8);
      out[2] = static_cast<uint8_t>(group);
      out += 3;
      in += 4;
    }
    uint8_t character = *in++;
    if (character == '\0') return static_cast<int>(out - start);
    uint32_t value = kValue[character];
    if (value == kInvalid) continue;
    bits = bits << 6 | value;
    position = (position + 1) % 4;
    // Positions 1, 2 and 3 complete a byte; 4, 2 and 0 bits are left over.
    if (position != 1 && out < end) *out++ = static_cast<uint8_t>(bits >> (position == 2 ? 4 : position == 3 ? 2 : 0));
  }
}

}  // namespace atd
