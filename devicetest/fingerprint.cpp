#include "devicetest/fingerprint.h"

#include "platform/log.h"

namespace {

struct SensorTest {
  int (*run)(FpTestResult* result);
  const char* name;
  const char* verdict;  // the log's word for the result; "Rsult" is what stations look for
};

constexpr SensorTest kSpi = {FpFactoryTest::SPITest, "SPI", "Rsult"};
constexpr SensorTest kZone = {FpFactoryTest::ZoneTest, "ZONE", "Result"};
constexpr SensorTest kCheckerboard = {FpFactoryTest::CheckerboardTest, "Checkerboard", "Result"};
constexpr SensorTest kRubberstamp = {FpFactoryTest::RubberstampTest, "Rubberstamp", "Result"};

int run(const SensorTest& test, FpTestResult* result) {
  if (fpenable(1) != 0) return 1;
  const bool failed = test.run(result) == -1;
  if (failed) SLOGE("%s Test CMD Failed! \n", test.name);
  else SLOGI("%s isPass : %d, %s : %d\n", test.name, result->isPass, test.verdict, result->result);
  return fpenable(0) != 0 || failed ? 1 : 0;
}

}  // namespace

int fpenable(int on) {
  if (FpFactoryTest::FpEnable(on) < 0) {
    SLOGE("FingerPrint Sensor Enable Fail! \n");
    return 1;
  }
  SLOGI("FingerPrint Sensor Enable! \n");
  return 0;
}

int spi_test(FpTestResult* result) { return run(kSpi, result); }
int zone_test(FpTestResult* result) { return run(kZone, result); }
int checkerboard_test(FpTestResult* result) { return run(kCheckerboard, result); }
int rubberstamp_test(FpTestResult* result) { return run(kRubberstamp, result); }
