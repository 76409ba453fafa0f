#include "factory/efs.h"

#include <stdint.h>
#include <string.h>

#include <algorithm>

#include "channel/modem_records.h"
#include "channel/opcodes.h"
#include "platform/modem_interface.h"
#include "platform/records.h"

using namespace atd;

namespace {

// One exchange with the modem's file system.
struct Exchange {
  rzcmd_request req = {};
  rzcmd_response rsp = {};

  Exchange(FileOperation operation, int length) {
    req.opcode = kFileSystemAccess;
    req.data_len = length;
    req.data[0] = static_cast<char>(operation);
  }

  void put(int offset, int32_t value) { memcpy(req.data + offset, &value, sizeof value); }

  // Gives the result word: 0 for a failed exchange or an answer without data, -1 for an answer with an impossible
  // length or without room for its result.
  int32_t send() {
    if (request_to_modem_via_dmi(&req, &rsp) != 0) rsp = {};
    if (rsp.data_len < 0 || rsp.data_len > MAX_RZCMD_REQ_SIZE || (rsp.data_len > 0 && rsp.data_len < kFileResultSize)) {
      return -1;
    }
    int32_t result;
    memcpy(&result, rsp.data, sizeof result);
    return rsp.data_len == 0 ? 0 : result;
  }
};

int path_request(FileOperation operation, const char* path, int flags, int mode) {
  Exchange exchange(operation, kFilePathRequest);
  memcpy(exchange.req.data + kFilePathAt, path, strnlen(path, kFilePathSize));
  exchange.put(kFileFlagsAt, flags);
  exchange.put(kFileModeAt, mode);
  return exchange.send();
}

}  // namespace

int efs_init(int client) { return dmi_init(client); }

int efs_release(int client) { return dmi_release(client); }

int efs_open(const char* path, int flags, int mode) { return path_request(kFileOpen, path, flags, mode); }

int efs_unlink(const char* path) { return path_request(kFileUnlink, path, 0, 0); }

int efs_close(int fd) {
  Exchange exchange(kFileClose, kFileCloseRequest);
  exchange.put(kFileDescriptorAt, fd);
  return exchange.send();
}

int efs_read(int fd, void* buffer, int count) {
  int total = 0;
  for (int position = 0, wanted; position < count; position += wanted) {
    wanted = std::min(count - position, kFileChunk);
    Exchange exchange(kFileRead, kFileReadRequest);
    exchange.put(kFileDescriptorAt, fd);
    exchange.put(kFileReadCountAt, wanted);
    int got = exchange.send();
    if (got < 1 || got > wanted || got > exchange.rsp.data_len - kFileResultSize) break;
    // The next chunk is placed after the number asked for, so a short one leaves the rest of its area as it was.
    memcpy(static_cast<char*>(buffer) + position, exchange.rsp.data + kFileResultSize, static_cast<size_t>(got));
    total += got;
  }
  return total;
}

int efs_write(int fd, const void* buffer, int count) {
  int total = 0;
  for (int position = 0, size; position < count; position += size) {
    size = std::min(count - position, kFileChunk);
    Exchange exchange(kFileWrite, kFileWriteRequest);
    exchange.put(kFileDescriptorAt, fd);
    memcpy(exchange.req.data + kFileWriteDataAt, static_cast<const char*>(buffer) + position,
           static_cast<size_t>(size));
    exchange.put(kFileWriteCountAt, size);
    int put = exchange.send();
    if (put < 1 || put > size) break;
    total += put;
  }
  return total;
}
