// How every handler fills its response: the whole record is cleared, then the answer is set, and last the
// result.
#pragma once

#include "platform/records.h"

namespace atd {

// Answers with a result alone.
void respond(rzcmd_response* rsp, int result);

// Answers with the first `length` bytes, at most 2048, and the result.
void respond_bytes(rzcmd_response* rsp, const void* bytes, int length, int result = RZCMD_OK);

// Answers with one byte and the result.
void respond_byte(rzcmd_response* rsp, int byte, int result = RZCMD_OK);

// Answers with a text, cut at 2047 characters, and the result; data_len is its length without the terminator.
void respond_text(rzcmd_response* rsp, const char* text, int result = RZCMD_OK);

// The request's payload as a text; "" when it holds no terminator.
const char* request_text(const rzcmd_request* req);

}  // namespace atd
