// Readings of nodes, beside the bare open, read and close of the same node.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "atd.h"
#include "platform/os.h"
#include "simulator/simulated_device.h"

namespace {

constexpr char kSystemVoltage[] = "/proc/tav_power/adc/vph_pwr";
constexpr char kGauge[] = "/sys/bus/i2c/drivers/max17050/1-0036/at_fuelrst";
constexpr char kBatteryVoltage[] = "/sys/bus/i2c/drivers/max17050/1-0036/at_batl";

class BenchPhone {
 public:
  BenchPhone() {
    char folder[] = "/dev/shm/atd-bench-XXXXXX";
    root_ = mkdtemp(folder);
    std::string error;
    device_ = atd::sim::SimulatedDevice::open(root_, &error);
  }
  ~BenchPhone() {
    device_.reset();
    std::filesystem::remove_all(root_);
  }

 private:
  std::string root_;
  std::unique_ptr<atd::sim::SimulatedDevice> device_;
};

template <int (*reading)(char*)>
void read_voltage(benchmark::State& state) {
  BenchPhone phone;
  char out[16];
  for (auto _ : state) {
    if (reading(out) != 0) abort();
  }
}

// Opens the node, reads it where `out` is given, and closes it.
void touch_node(const char* node, char* out, size_t size) {
  const int fd = open(atd::device_path(node), O_RDONLY | O_CLOEXEC);
  if (fd < 0 || (out && read(fd, out, size) < 0)) abort();
  close(fd);
}

void bare_system_voltage(benchmark::State& state) {
  BenchPhone phone;
  char out[128];
  for (auto _ : state) {
    touch_node(kSystemVoltage, out, sizeof out);
    benchmark::DoNotOptimize(out);
  }
}

// The gauge is looked for before its node is read.
void bare_battery_voltage(benchmark::State& state) {
  BenchPhone phone;
  char out[128];
  for (auto _ : state) {
    touch_node(kGauge, nullptr, 0);
    touch_node(kBatteryVoltage, out, sizeof out);
    benchmark::DoNotOptimize(out);
  }
}

BENCHMARK(read_voltage<get_vphpwr_adc>)->Name("reading/system_voltage");
BENCHMARK(bare_system_voltage)->Name("reading/bare_system_voltage");
BENCHMARK(read_voltage<get_battery_voltage>)->Name("reading/battery_voltage");
BENCHMARK(bare_battery_voltage)->Name("reading/bare_battery_voltage");

}  // namespace
