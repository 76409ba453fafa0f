// What it costs that a written factory item is on the medium before its write is answered. The folder is on a disk: in
// memory there is nothing to wait for. TMPDIR names another one.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

#include "platform/ftm_item.h"
#include "simulator/simulated_device.h"

namespace {

void write_item(benchmark::State& state, bool synced) {
  std::string root = std::filesystem::temp_directory_path() / "atd-bench-XXXXXX", error;
  if (!mkdtemp(root.data())) abort();
  auto device = atd::sim::SimulatedDevice::open(root, &error);
  device->syncs_writes = synced;
  const char value[128] = "value";
  for (auto _ : state) {
    if (set_ftm_item(17, sizeof value, value) != 0) abort();
  }
  device.reset();
  std::filesystem::remove_all(root);
}

BENCHMARK_CAPTURE(write_item, synced, true)->Name("item/write_synced")->UseRealTime();
BENCHMARK_CAPTURE(write_item, plain, false)->Name("item/write_plain")->UseRealTime();

}  // namespace
