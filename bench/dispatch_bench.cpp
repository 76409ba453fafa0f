// One request through the dispatcher, without a socket.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>

#include "dispatch/service_handler.h"
#include "simulator/simulated_device.h"

namespace {

void dispatch(benchmark::State& state) {
  char folder[] = "/dev/shm/atd-bench-XXXXXX";
  std::string error;
  auto device = atd::sim::SimulatedDevice::open(mkdtemp(folder), &error);
  rzcmd_request req = {static_cast<int>(state.range(0)), 0, ""};
  rzcmd_response rsp = {};
  for (auto _ : state) {
    atd::service_handler(&req, &rsp);
    benchmark::DoNotOptimize(rsp);
  }
  device.reset();
  std::filesystem::remove_all(folder);
}

BENCHMARK(dispatch)->Name("dispatch/get_serial_number")->Arg(4010);
BENCHMARK(dispatch)->Name("dispatch/unknown_opcode")->Arg(77);

}  // namespace
