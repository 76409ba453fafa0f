// The service request and response records. Their layout is the wire format: little-endian, byte for byte.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Bytes of payload in a request and in a response.
inline constexpr int MAX_RZCMD_REQ_SIZE = 2048;

// Values of rzcmd_response::result; any other is a failure code of a lower layer.
enum {
  RZCMD_OK = 0,    // done; data_len bytes of data are the answer
  RZCMD_FAIL = 1,  // failed
  // 2: not supported on this device or build
};

struct rzcmd_request {
  int32_t opcode;
  int32_t data_len;  // meaningful bytes of data
  char data[MAX_RZCMD_REQ_SIZE];
};

struct rzcmd_response {
  int32_t result;
  int32_t data_len;       // meaningful bytes of data
  int32_t result_status;  // secondary status of the modem or the platform
  char data[MAX_RZCMD_REQ_SIZE];
};

static_assert(sizeof(rzcmd_request) == 2056 && offsetof(rzcmd_request, data_len) == 4 &&
              offsetof(rzcmd_request, data) == 8);
static_assert(sizeof(rzcmd_response) == 2060 && offsetof(rzcmd_response, data_len) == 4 &&
              offsetof(rzcmd_response, result_status) == 8 && offsetof(rzcmd_response, data) == 12);

namespace atd {

inline constexpr int kNotSupported = 2;
inline constexpr int kRequestHeaderSize = offsetof(rzcmd_request, data);
inline constexpr int kResponseHeaderSize = offsetof(rzcmd_response, data);

// Bytes of a record's payload that may be touched, whatever its length field says: 0..2048.
constexpr int bounded_length(int32_t data_len) {
  return data_len < 0 ? 0 : data_len > MAX_RZCMD_REQ_SIZE ? MAX_RZCMD_REQ_SIZE : data_len;
}

}  // namespace atd
