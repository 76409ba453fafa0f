// Handlers of the phone's storage.
#pragma once

struct rzcmd_response;

namespace atd {

// Answers the size of the RAM in MB; "0" with result 1 when it cannot be read.
void handle_get_ram_size(rzcmd_response* rsp);

}  // namespace atd
