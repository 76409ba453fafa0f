// The fingerprint sensor's factory tests, as the sensor maker's library has them.
#pragma once

#include <stdint.h>

// What a test found.
struct FpTestResult {
  int32_t isPass;
  int32_t result;
};

class FpFactoryTest {
 public:
  // Switches the sensor on (1) or off (0); negative on failure.
  static int FpEnable(int on);

  // Run a test on the sensor, which is on, and fill *result; -1 on failure.
  static int SPITest(FpTestResult* result);
  static int ZoneTest(FpTestResult* result);
  static int CheckerboardTest(FpTestResult* result);
  static int RubberstampTest(FpTestResult* result);
};
