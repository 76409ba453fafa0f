// Requests to the modem and its file system, beside the bare exchange with the simulated modem: the difference is the
// library's own share.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>

#include <filesystem>
#include <string>

#include "atd.h"
#include "platform/modem_interface.h"
#include "simulator/simulated_device.h"
#include "platform/records.h"

namespace {

constexpr int kFile = 1 << 20;
constexpr int kChunk = 2032;

class BenchPhone {
 public:
  BenchPhone() {
    char folder[] = "/dev/shm/atd-bench-XXXXXX";
    root_ = mkdtemp(folder);
    std::string error;
    device_ = atd::sim::SimulatedDevice::open(root_, &error);
    init_modem_interface(0);
  }
  ~BenchPhone() {
    device_.reset();
    std::filesystem::remove_all(root_);
  }

 private:
  std::string root_;
  std::unique_ptr<atd::sim::SimulatedDevice> device_;
};

void modem_request(benchmark::State& state) {
  BenchPhone phone;
  char answer[MAX_RZCMD_REQ_SIZE];
  int length;
  for (auto _ : state) request_to_system(28, nullptr, 0, answer, &length, nullptr);
}

void modem_exchange(benchmark::State& state) {
  BenchPhone phone;
  rzcmd_request req = {28, 0, ""};
  rzcmd_response rsp;
  for (auto _ : state) {
    rsp = {};
    request_to_modem_via_dmi(&req, &rsp);
  }
}

void chunks(benchmark::State& state) {
  state.counters["chunks/s"] = benchmark::Counter(
      static_cast<double>(state.iterations() * ((kFile + kChunk - 1) / kChunk)), benchmark::Counter::kIsRate);
}

void efs_write_file(benchmark::State& state) {
  BenchPhone phone;
  std::string data(kFile, 'w');
  for (auto _ : state) {
    int fd = efs_open("/bench", O_CREAT | O_RDWR | O_TRUNC, 0644);
    if (efs_write(fd, data.data(), kFile) != kFile) abort();
    efs_close(fd);
  }
  chunks(state);
}

void efs_read_file(benchmark::State& state) {
  BenchPhone phone;
  std::string data(kFile, 'w');
  int fd = efs_open("/bench", O_CREAT | O_RDWR | O_TRUNC, 0644);
  efs_write(fd, data.data(), kFile);
  efs_close(fd);
  for (auto _ : state) {
    fd = efs_open("/bench", O_RDONLY, 0);
    if (efs_read(fd, data.data(), kFile) != kFile) abort();
    efs_close(fd);
  }
  chunks(state);
}

// The same number of read requests, made once and sent as they are.
void efs_bare_exchanges(benchmark::State& state) {
  BenchPhone phone;
  std::string data(kFile, 'w');
  int fd = efs_open("/bench", O_CREAT | O_RDWR | O_TRUNC, 0644);
  efs_write(fd, data.data(), kFile);
  efs_close(fd);
  rzcmd_request req = {401, 12, {6}};
  memcpy(req.data + 8, &kChunk, 4);
  rzcmd_response rsp;
  for (auto _ : state) {
    fd = efs_open("/bench", O_RDONLY, 0);
    memcpy(req.data + 4, &fd, 4);
    for (int i = 0; i < (kFile + kChunk - 1) / kChunk; ++i) request_to_modem_via_dmi(&req, &rsp);
    efs_close(fd);
  }
  chunks(state);
}

BENCHMARK(modem_request)->Name("modem/request_to_system");
BENCHMARK(modem_exchange)->Name("modem/bare_exchange");
BENCHMARK(efs_write_file)->Name("efs/write_1MiB")->Unit(benchmark::kMillisecond);
BENCHMARK(efs_read_file)->Name("efs/read_1MiB")->Unit(benchmark::kMillisecond);
BENCHMARK(efs_bare_exchanges)->Name("efs/bare_reads_1MiB")->Unit(benchmark::kMillisecond);

}  // namespace
