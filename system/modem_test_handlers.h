// Handlers of the modem's test mode.
#pragma once

struct rzcmd_response;

namespace atd {

// Answers the factory mode: 1 where the factory boot flag is set, else the number of the test script's mode, which is
// also the result for the number 2. Result 1 when it cannot be read.
void handle_factory_mode_check(rzcmd_response* rsp);

// Answers what a check of the calibration data found; result 1 when the modem does not answer.
void handle_rfsw_get_cal_data(rzcmd_response* rsp);

}  // namespace atd
