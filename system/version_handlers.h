// Handlers that answer versions.
#pragma once

struct rzcmd_response;

namespace atd {

// Answer the factory software version, of either kind, and the hardware revision; result 1 when there is none.
void handle_get_factory_version_1(rzcmd_response* rsp);
void handle_get_factory_version_2(rzcmd_response* rsp);
void handle_get_hw_revision(rzcmd_response* rsp);

}  // namespace atd
