// The switch through which every service request reaches its handler.
#pragma once

#include "platform/records.h"

namespace atd {

// Runs the request's opcode on the cleared response; always 0. An opcode that has no row leaves the response as it
// is, all zero, which reads as success: the platform sends some that this library never knew.
int service_handler(rzcmd_request* req, rzcmd_response* rsp);

}  // namespace atd
