#include <stdint.h>
#include <string.h>

#include <algorithm>

#include "atd.h"
#include "platform/modem_interface.h"
#include "transport/records.h"

using namespace atd;

namespace {

constexpr int kFileSystemAccess = 401;
constexpr int kPathSize = 128;
constexpr int kChunk = 2032;

enum SubCommand : uint8_t { kUnlink = 3, kOpen = 4, kClose = 5, kRead = 6, kWrite = 7 };

// The first word of an answer's data is the operation's result; what was read stands behind it.
constexpr int kResultSize = 4;

// One exchange with the modem's file system: a sub-command, and 32-bit fields at fixed offsets of the data.
struct Exchange {
  rzcmd_request req = {};
  rzcmd_response rsp = {};

  Exchange(SubCommand command, int length) {
    req.opcode = kFileSystemAccess;
    req.data_len = length;
    req.data[0] = static_cast<char>(command);
  }

  void put(int offset, int32_t value) { memcpy(req.data + offset, &value, sizeof value); }

  // The result word. A failed exchange reads as 0, as an answer without data does; an answer that claims a length
  // which it cannot have, or that has no room for its result, as -1.
  int32_t send() {
    if (request_to_modem_via_dmi(&req, &rsp) != 0) rsp = {};
    if (rsp.data_len < 0 || rsp.data_len > MAX_RZCMD_REQ_SIZE || (rsp.data_len > 0 && rsp.data_len < kResultSize)) {
      return -1;
    }
    int32_t result;
    memcpy(&result, rsp.data, sizeof result);
    return rsp.data_len == 0 ? 0 : result;
  }
};

int path_request(SubCommand command, const char* path, int flags, int mode) {
  Exchange exchange(command, 140);
  memcpy(exchange.req.data + 1, path, strnlen(path, kPathSize));
  exchange.put(132, flags);
  exchange.put(136, mode);
  return exchange.send();
}

}  // namespace

int efs_init(int client) { return dmi_init(client); }

int efs_release(int client) { return dmi_release(client); }

int efs_open(const char* path, int flags, int mode) { return path_request(kOpen, path, flags, mode); }

int efs_unlink(const char* path) { return path_request(kUnlink, path, 0, 0); }

int efs_close(int fd) {
  Exchange exchange(kClose, 8);
  exchange.put(4, fd);
  return exchange.send();
}

int efs_read(int fd, void* buffer, int count) {
  int total = 0;
  for (int position = 0, wanted; position < count; position += wanted) {
    wanted = std::min(count - position, kChunk);
    Exchange exchange(kRead, 12);
    exchange.put(4, fd);
    exchange.put(8, wanted);
    int got = exchange.send();
    if (got < 1 || got > wanted || got > exchange.rsp.data_len - kResultSize) break;
    // The next chunk is placed behind the number asked for, so a short one leaves the rest of its area as it was.
    memcpy(static_cast<char*>(buffer) + position, exchange.rsp.data + kResultSize, static_cast<size_t>(got));
    total += got;
  }
  return total;
}

int efs_write(int fd, const void* buffer, int count) {
  int total = 0;
  for (int position = 0, size; position < count; position += size) {
    size = std::min(count - position, kChunk);
    Exchange exchange(kWrite, 2044);
    exchange.put(4, fd);
    memcpy(exchange.req.data + 8, static_cast<const char*>(buffer) + position, static_cast<size_t>(size));
    exchange.put(2040, size);
    int put = exchange.send();
    if (put < 1 || put > size) break;
    total += put;
  }
  return total;
}
