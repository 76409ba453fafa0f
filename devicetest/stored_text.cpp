#include "devicetest/stored_text.h"

#include <string.h>

#include <algorithm>

namespace atd {

int read_stored(const FactoryItem& item, char* text, size_t size) {
  char stored[2048] = {};
  memset(text, 0, size);
  if (read_item(item, stored) < 0) return -1;
  memcpy(text, stored, strnlen(stored, std::min(size - 1, sizeof stored)));
  return 0;
}

void append(char* dest, const char* text) {
  const size_t used = strnlen(dest, kStoredTextSize - 1);
  const size_t length = strnlen(text, kStoredTextSize - 1 - used);
  memcpy(dest + used, text, length);
  dest[used + length] = '\0';
}

}  // namespace atd
