// Production resets, which the modem carries out.
#pragma once

#pragma GCC visibility push(default)

// Runs a production reset by kind: 0 first production, 1 its check, 2 start day check, 3 and 4 start day init and set,
// 100 return, 101 brand, 102 service return, 103 refurbish, 104 its check; 0 when the modem confirms, 1 when it does
// not, -1 for another kind, or the error of request_to_system.
int tav_reset_production(int kind);

#pragma GCC visibility pop
