// The switch through which every service request reaches its handler.
#pragma once

#include "platform/records.h"

namespace atd {

// Runs the request's opcode on the cleared response; always 0. An opcode without a row leaves the response all zero,
// which reads as success: the platform sends some opcodes that this library never knew.
int service_handler(rzcmd_request* req, rzcmd_response* rsp);

}  // namespace atd
