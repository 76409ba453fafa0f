#include "logs/checksum.h"

#include <stddef.h>
#include <string.h>
#include <zlib.h>

#include "factory/modem_items.h"
#include "platform/log.h"
#include "text/hex.h"

using namespace atd;

namespace {

constexpr unsigned kPolynomial = 0x8005;

struct ByteTable {
  uint16_t crc[256];
};

constexpr ByteTable make_table() {
  ByteTable table = {};
  for (unsigned byte = 0; byte < 256; ++byte) {
    unsigned crc = byte << 8;
    for (int bit = 0; bit < 8; ++bit) crc = (crc << 1) ^ (crc & 0x8000 ? kPolynomial : 0);
    table.crc[byte] = static_cast<uint16_t>(crc);
  }
  return table;
}

constexpr ByteTable kTable = make_table();

template <typename Word>
Word load(const uint8_t* place) {
  Word word;
  memcpy(&word, place, sizeof word);
  return word;
}

template <typename Word>
void add(uint8_t* place, Word word) {
  word = static_cast<Word>(word ^ load<Word>(place));
  memcpy(place, &word, sizeof word);
}

// Gives a block a shorter one with the same CRC: moves its words behind their places, until no more than 16 of them are
// left, and returns where these begin. The polynomial is 1 + x^2 + x^15 + x^16, and so divides 1 + y^2 + y^15 + y^16
// for a y of x^8, x^16, x^32 and x^64, its powers by two: a word may move by 1, 14 and 16 words at once.
template <typename Word>
uint8_t* fold(uint8_t* block, const uint8_t* end) {
  constexpr ptrdiff_t kMost = 16;
  constexpr size_t kSize = sizeof(Word);
  if (end - block < (kMost + 1) * static_cast<ptrdiff_t>(kSize)) return block;
  Word moved = 0;
  for (; end - block >= (kMost + 1) * static_cast<ptrdiff_t>(kSize); block += kSize) {
    moved = static_cast<Word>(moved ^ load<Word>(block));
    add(block + 14 * kSize, moved);
    add(block + 16 * kSize, moved);
  }
  add(block, moved);
  return block;
}

}  // namespace

uint16_t calculate_crc(const uint8_t* data, uint16_t length) {
  uint8_t copy[UINT16_MAX];
  memcpy(copy, data, length);
  const uint8_t* const end = copy + length;
  const uint8_t* left = fold<uint8_t>(fold<uint16_t>(fold<uint32_t>(fold<uint64_t>(copy, end), end), end), end);
  unsigned crc = 0;
  while (left < end) crc = kTable.crc[crc >> 8 ^ *left++] ^ (crc << 8 & 0xFFFF);
  return static_cast<uint16_t>(crc);
}

int get_pid_crc(uint32_t* out) {
  char pid[4096] = "";
  const int result = read_pid(pid);
  *out = result == 0 ? static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(pid), strlen(pid))) : 0;
  return result;
}

uint32_t atox(const char* text) {
  uint32_t value = 0;
  for (; text && *text; ++text) {
    const int digit = hex_digit(*text);
    if (digit < 0) {
      SLOGE("Error : It's not Hexadecimal Number!\n");
      return 0;
    }
    value = value << 4 | static_cast<uint32_t>(digit);
  }
  return value;
}
