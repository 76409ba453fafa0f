// Handlers of the modem's test mode.
#pragma once

struct rzcmd_response;

namespace atd {

// Answers the factory mode: 1 where the QEM flag is 1, else the number of the test script's mode. The result is 2 for
// the number 2, 1 when the mode cannot be read, else 0.
void handle_factory_mode_check(rzcmd_response* rsp);

// Answers what a check of the calibration data found; result 1 when the modem does not answer.
void handle_rfsw_get_cal_data(rzcmd_response* rsp);

}  // namespace atd
