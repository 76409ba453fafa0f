// Handlers of restart and what goes before it.
#pragma once

struct rzcmd_response;

namespace atd {

// Writes the modem's file system out; result 0 whatever becomes of it.
void handle_efs_sync(rzcmd_response* rsp);

}  // namespace atd
