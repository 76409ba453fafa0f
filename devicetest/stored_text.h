// The texts that the automatic test keeps in factory items.
#pragma once

#include <stddef.h>

#include "factory/item_registry.h"

namespace atd {

// Every buffer of a set or an order.
inline constexpr size_t kStoredTextSize = 128;

// Reads an item of at most 2048 bytes as a text into a buffer of `size` bytes, where it is always terminated and
// zero-filled; 0, or -1 with the empty text when the item cannot be read.
int read_stored(const FactoryItem& item, char* text, size_t size);

template <size_t size>
int read_stored(const FactoryItem& item, char (&text)[size]) {
  return read_stored(item, text, size);
}

// Appends to a text in a buffer of kStoredTextSize bytes what fits there.
void append(char* dest, const char* text);

}  // namespace atd
