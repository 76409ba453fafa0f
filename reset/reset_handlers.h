// Handlers of the resets.
#pragma once

struct rzcmd_response;

namespace atd {

// Starts a reset by number: 1 the factory reset with the SD card, 5 the same with the power-off; 2 the return, 3 the
// service return and 4 the brand reset of the modem. Result 0, 1 when it fails or the text is no number, or 2 for no
// text, another number and any other failure.
void handle_frst_start(const char* data, rzcmd_response* rsp);

// Run the production reset of kind 2 (the check of the start day), 1 (the check of the first production) and 0 (the
// first production); the result is tav_reset_production's.
void handle_read_startday(rzcmd_response* rsp);
void handle_reset_production_1(rzcmd_response* rsp);
void handle_reset_production_0(rzcmd_response* rsp);

}  // namespace atd
