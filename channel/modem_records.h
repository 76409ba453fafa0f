// The layout of the data in two kinds of modem requests: operations on the modem's file system, and packets about its
// numbered items. Little-endian.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace atd {

// One operation of kFileSystemAccess. The first byte of a request's data says which; the first 32-bit word of the
// answer's data is its result, and what was read follows it.
enum FileOperation : uint8_t { kFileUnlink = 3, kFileOpen = 4, kFileClose = 5, kFileRead = 6, kFileWrite = 7 };

// How many bytes of data a request has, by operation.
inline constexpr int kFilePathRequest = 140;  // unlink, open
inline constexpr int kFileCloseRequest = 8;
inline constexpr int kFileReadRequest = 12;
inline constexpr int kFileWriteRequest = 2044;

// The offset of each field in that data.
inline constexpr int kFilePathAt = 1;  // unlink, open: at most 128 bytes; all 128 have no terminator
inline constexpr int kFilePathSize = 128;
inline constexpr int kFileFlagsAt = 132;     // 32 bits
inline constexpr int kFileModeAt = 136;      // 32 bits
inline constexpr int kFileDescriptorAt = 4;  // close, read, write: 32 bits
inline constexpr int kFileReadCountAt = 8;   // 32 bits
inline constexpr int kFileWriteDataAt = 8;
inline constexpr int kFileWriteCountAt = 2040;  // 32 bits
inline constexpr int kFileChunk = 2032;         // most bytes of one read or write
inline constexpr int kFileResultSize = 4;

// A packet of kNvRead and kNvWrite.
inline constexpr int kNvDataSize = 128;
struct __attribute__((packed)) NvPacket {
  uint8_t code;
  uint16_t item;
  char data[kNvDataSize];
  uint8_t status;
};
static_assert(sizeof(NvPacket) == 132 && offsetof(NvPacket, data) == 3 && offsetof(NvPacket, status) == 131);

// Its command codes and status bytes are those of the diagnostic protocol.
inline constexpr uint8_t kNvReadCode = 38;
inline constexpr uint8_t kNvWriteCode = 39;
inline constexpr uint8_t kNvDone = 0;
inline constexpr uint8_t kNvFailed = 4;
inline constexpr uint8_t kNvInactive = 5;

// Most bytes of one chunk of kBulkSend and kBulkReceive; a shorter one is the last.
inline constexpr int kBulkChunk = 255;

}  // namespace atd
