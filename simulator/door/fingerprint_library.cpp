#include "platform/fingerprint.h"

#include "simulator/simulated_device.h"

using atd::sim::Call;
using atd::sim::SimulatedDevice;

namespace {

bool fails(const char* call) { return SimulatedDevice::current().faults.hits(Call::fingerprint, call); }

// A sensor that is off answers nothing.
int run(const char* call, const char* test, FpTestResult* result) {
  const auto& sensor = SimulatedDevice::current().fingerprint;
  if (fails(call) || !sensor.is_on()) return -1;
  *result = sensor.verdict(test);
  return 0;
}

}  // namespace

int FpFactoryTest::FpEnable(int on) {
  if (fails("FpEnable")) return -1;
  SimulatedDevice::current().fingerprint.enable(on != 0);
  return 0;
}

int FpFactoryTest::SPITest(FpTestResult* result) { return run("SPITest", "spi", result); }
int FpFactoryTest::ZoneTest(FpTestResult* result) { return run("ZoneTest", "zone", result); }
int FpFactoryTest::CheckerboardTest(FpTestResult* result) { return run("CheckerboardTest", "checkerboard", result); }
int FpFactoryTest::RubberstampTest(FpTestResult* result) { return run("RubberstampTest", "rubberstamp", result); }
