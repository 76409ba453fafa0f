// Handlers of the resets.
#pragma once

struct rzcmd_response;

namespace atd {

// Run the production reset of kind 1 (the check of the first production) and 0 (the first production); the result is
// tav_reset_production's.
void handle_reset_production_1(rzcmd_response* rsp);
void handle_reset_production_0(rzcmd_response* rsp);

}  // namespace atd
