#include "logs/code_crc.h"

#include <fcntl.h>
#include <stdint.h>
#include <string.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>

#include "logs/block_crc.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/file.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr size_t kPieceBlocks = 64;
constexpr uint32_t kModemBlocks = 54000;
// What a boot image has besides its kernel and its ramdisk.
constexpr uint64_t kBootImageRest = 6144;

constexpr const char* kSignedImages[] = {"aboot", "sbl2", "sbl3", "rpm", "tz"};
constexpr const char* kBootImages[] = {"boot", "recovery"};

// A partition, read from its start on. What cannot be read is its end.
class Partition {
 public:
  // Opens it by its name; a failure is reported.
  explicit Partition(const char* name) {
    char path[64];
    TextWriter(path).format("/dev/block/bootdevice/by-name/%s", name);
    fd_ = open(device_path(path), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) SLOGE("file open error:%s", path);
    else posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
  }
  ~Partition() {
    if (fd_ >= 0) close(fd_);
  }
  Partition(const Partition&) = delete;
  Partition& operator=(const Partition&) = delete;

  bool is_open() const { return fd_ >= 0; }

  // Reads the next bytes and returns how many there were.
  size_t read_next(uint8_t* bytes, size_t size) { return read_up_to(fd_, bytes, size); }

  // The sum of the CRCs of the next blocks.
  uint32_t sum_next(uint64_t blocks) {
    uint8_t piece[kPieceBlocks * kBlockSize];
    uint32_t sum = 0;
    while (blocks > 0) {
      const size_t wanted = static_cast<size_t>(std::min<uint64_t>(blocks, kPieceBlocks)) * kBlockSize;
      const size_t got = read_next(piece, wanted);
      const size_t there = (got + kBlockSize - 1) / kBlockSize;
      memset(piece + got, 0, there * kBlockSize - got);
      sum += block_crc_sum(piece, there);
      blocks -= there;
      // A header may promise four million blocks, of which a partition has a few.
      if (got < wanted) return sum + static_cast<uint32_t>(blocks) * zero_block();
    }
    return sum;
  }

 private:
  static uint32_t zero_block() {
    constexpr uint8_t kZeros[kBlockSize] = {};
    return block_crc_sum(kZeros, 1);
  }

  int fd_;
};

// The little-endian number at a place of a header.
uint32_t number(const uint8_t* header, size_t place) {
  return header[place] | header[place + 1] << 8 | header[place + 2] << 16 | uint32_t{header[place + 3]} << 24;
}

}  // namespace

int code_crc(char* out) {
  uint32_t sum = 0;
  unsigned index = 0;
  // The blocks of an image begin behind the header, and are as many as if they began with it.
  for (const char* name : kSignedImages) {
    const unsigned at = index++;
    Partition image(name);
    if (!image.is_open()) continue;
    uint8_t header[20] = {};
    image.read_next(header, sizeof header);
    const uint32_t size = number(header, 16);
    SLOGI("mbn_size [%u]: %08X (%u) \n", at, size, size);
    const uint32_t blocks = size / kBlockSize + 1;
    sum += image.sum_next(blocks);
    SLOGI("code_crc mbn_sum[%u] %u KB: %08X", at, blocks, sum);
  }
  index = 0;
  for (const char* name : kBootImages) {
    const unsigned at = index++;
    Partition image(name);
    if (!image.is_open()) continue;
    uint8_t header[20] = {};
    image.read_next(header, sizeof header);
    const uint32_t kernel = number(header, 8), ramdisk = number(header, 16);
    SLOGI("img_size [%u]: kernel : %08X (%u), ramdisk : %08X (%u) \n", at, kernel, kernel, ramdisk, ramdisk);
    const uint64_t blocks = (uint64_t{kernel} + ramdisk + kBootImageRest) / kBlockSize + 1;
    sum += image.sum_next(blocks);
    SLOGI("code_crc kernel_sum[%u] %u KB: %08X", at, static_cast<unsigned>(blocks), sum);
  }
  if (Partition image("sbl1"); image.is_open()) {
    uint8_t header[40] = {};
    image.read_next(header, sizeof header);
    const uint32_t size = number(header, 28);
    SLOGI("sbl1_size : %08X (%u) \n", size, size);
    // One block less than the other images have, on purpose.
    const uint32_t blocks = size / kBlockSize;
    sum += image.sum_next(blocks);
    SLOGI("code_crc sbl1_sum %u KB: %08X", blocks, sum);
  }
  if (Partition image("modem"); image.is_open()) {
    sum += image.sum_next(kModemBlocks);
    SLOGI("code_crc modem_sum %u KB: %08X", kModemBlocks, sum);
  }
  TextWriter(out, 9).format("%08X", sum);
  return 1;
}
