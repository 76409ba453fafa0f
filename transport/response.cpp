#include "transport/response.h"

#include <string.h>

namespace atd {

void respond(rzcmd_response* rsp, int result) {
  memset(rsp, 0, sizeof *rsp);
  rsp->result = result;
}

void respond_bytes(rzcmd_response* rsp, const void* bytes, int length, int result) {
  respond(rsp, result);
  rsp->data_len = bounded_length(length);
  memcpy(rsp->data, bytes, static_cast<size_t>(rsp->data_len));
}

void respond_byte(rzcmd_response* rsp, int byte, int result) {
  char value = static_cast<char>(byte);
  respond_bytes(rsp, &value, 1, result);
}

void respond_text(rzcmd_response* rsp, const char* text, int result) {
  respond_bytes(rsp, text, static_cast<int>(strnlen(text, MAX_RZCMD_REQ_SIZE - 1)), result);
}

const char* request_text(const rzcmd_request* req) {
  return memchr(req->data, '\0', sizeof req->data) ? req->data : "";
}

}  // namespace atd
