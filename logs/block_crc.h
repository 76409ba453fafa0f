// The CRC-32 of many small blocks.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace atd {

inline constexpr size_t kBlockSize = 1024;

// The sum, modulo 2^32, of the CRC-32 of each block of 1024 bytes, each as zlib's crc32 gives it.
uint32_t block_crc_sum(const uint8_t* blocks, size_t count);

}  // namespace atd
