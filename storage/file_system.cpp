#include "storage/file_system.h"

#include <errno.h>
#include <fcntl.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/os.h"

using namespace atd;

namespace {

// Both kinds have their super block here.
constexpr off_t kSuperBlockAt = 1024;
constexpr size_t kSuperBlockSize = 1024;
// No file system has larger blocks than 64 KiB.
constexpr unsigned kMaxBlockShift = 16;

struct Geometry {
  uint64_t block_shift;
  uint64_t blocks;
};

// The little-endian number of `size` bytes at a place of the super block.
uint64_t number(const uint8_t* super_block, size_t place, size_t size) {
  uint64_t value = 0;
  while (size-- > 0) value = value << 8 | super_block[place + size];
  return value;
}

// False for another kind of file system.
bool read_geometry(const uint8_t* super_block, Geometry* geometry) {
  if (number(super_block, 56, 2) == 0xEF53) {  // ext4
    const bool has_64_bits = (number(super_block, 96, 4) & 0x80) != 0;
    const uint64_t high = has_64_bits ? number(super_block, 336, 4) : 0;
    *geometry = {10 + number(super_block, 24, 4), high << 32 | number(super_block, 4, 4)};
    return true;
  }
  if (number(super_block, 0, 4) == 0xF2F52010) {  // f2fs
    *geometry = {number(super_block, 16, 4), number(super_block, 36, 8)};
    return true;
  }
  return false;
}

// The size that a super block gives; 0, which is reported, for none.
uint64_t size_of(const char* who, const uint8_t* super_block) {
  Geometry geometry;
  if (!read_geometry(super_block, &geometry)) {
    SLOGE("[%s] unknown file system\n", who);
    return 0;
  }
  const uint64_t shift = geometry.block_shift;
  if (shift > kMaxBlockShift || geometry.blocks > UINT64_MAX >> shift) {
    SLOGE("[%s] impossible super block\n", who);
    return 0;
  }
  const unsigned long long block_size = 1ULL << shift, size = geometry.blocks << shift;
  SLOGI("[%s] block_size=%llu, ret=%llu\n", who, block_size, size);
  return size;
}

}  // namespace

uint64_t get_fs_size(const char* device) {
  const int fd = open(device_path(device), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    SLOGE("[%s] open fail : %s\n", __func__, strerror(errno));
    return 0;
  }
  uint64_t size = 0;
  uint8_t* super_block = static_cast<uint8_t*>(malloc(kSuperBlockSize));
  if (!super_block) SLOGE("[%s] malloc fail: sb\n", __func__);
  else if (pread(fd, super_block, kSuperBlockSize, kSuperBlockAt) != kSuperBlockSize)
    SLOGE("[%s] read fail\n", __func__);
  else size = size_of(__func__, super_block);
  free(super_block);
  close(fd);
  return size;
}
