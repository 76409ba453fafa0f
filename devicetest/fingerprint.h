// The factory tests of the fingerprint sensor.
#pragma once

#include "platform/fingerprint.h"

#pragma GCC visibility push(default)

// Switches the sensor on (1) or off (0); 0, or 1 when that fails.
int fpenable(int on);

// Switch the sensor on, run a test, and switch it off; 0, or 1 when one of these fails. When the sensor cannot be
// switched on, nothing else is done and *result stays as it is.
int spi_test(FpTestResult* result);
int zone_test(FpTestResult* result);
int checkerboard_test(FpTestResult* result);
int rubberstamp_test(FpTestResult* result);

#pragma GCC visibility pop
