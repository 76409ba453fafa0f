// The base64 text that carries records over the socket.
#pragma once

#include <stddef.h>

namespace atd {

// Bytes of a buffer for a record's text. The longest record, 2060 bytes, takes 2749 with the terminator.
inline constexpr int kRecordTextSize = 4096;

// Bytes of the text for `len` source bytes, with the terminator.
constexpr size_t base64_text_size(size_t len) { return (len + 2) / 3 * 4 + 1; }

// Writes the text of `len` bytes to dst, which holds base64_text_size(len) bytes, and terminates it. Returns
// the text's length, or 0 with the empty text for a len below 1.
int base64_encode(const void* src, int len, char* dst);

// Decodes a terminated text into dst, at most `max` bytes; returns the number of bytes written. Characters outside the
// alphabet are skipped, so this never fails.
int base64_decode(const char* src, void* dst, int max);

}  // namespace atd
