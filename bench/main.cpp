// Runs the benchmarks on one CPU beside a daemon of their own, and prints the ratios that are the goals.
#include <benchmark/benchmark.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "bench/peers.h"

namespace {

// The yardstick's time over the code's own: more is better.
struct Goal {
  const char* what;
  const char* own;
  const char* yardstick;
  double at_least;  // 0: there is no goal, only the ratio is shown
};

constexpr Goal kGoals[] = {
    {"base64 encoding against the plain loop", "base64/encode", "base64/encode_plain", 1.7},
    {"base64 decoding against the plain loop", "base64/decode", "base64/decode_plain", 2.0},
    {"round trip through the daemon against a bare echo", "socket/record_round_trip/4081/real_time",
     "socket/bare_echo/real_time", 0.75},
    {"modem request against the bare exchange", "modem/request_to_system", "modem/bare_exchange", 0},
    {"reading 1 MiB of EFS against the bare exchanges", "efs/read_1MiB", "efs/bare_reads_1MiB", 0},
    {"voltage reading against its node's open, read, close", "reading/system_voltage", "reading/bare_system_voltage",
     0.77},
    {"battery voltage, the same with its gauge's open", "reading/battery_voltage", "reading/bare_battery_voltage", 0},
    {"item write on the medium against the plain write", "item/write_synced/real_time", "item/write_plain/real_time",
     0},
    {"used size of 100,000 files against a bare walk", "card/used_size", "card/plain_walk", 0.77},
    {"copy of a log file against the loop by lines", "logs/copy", "logs/plain_copy", 1.6},
    {"the same with NULs in the file", "logs/copy_with_nuls", "logs/plain_copy_with_nuls", 1.6},
    {"full HD from 32 to 16 bits against the plain loop", "screen/to_565", "screen/to_565_plain", 2.5},
    {"full HD to one bit against the plain loop", "screen/to_bits", "screen/to_bits_plain", 5.0},
    {"archive of 200 MB on two processors, one thread", "archive/two_cores/real_time", "archive/plain/real_time", 1.7},
    {"the same on one processor", "archive/one_core/real_time", "archive/plain/real_time", 0.95},
    {"code CRC of a modem partition against the plain loop", "crc/code", "crc/code_plain", 2.0},
    {"file CRC of 50,000 contents against a plain walk", "crc/contents", "crc/contents_plain", 1.35},
    {"file CRC of 50,000 sizes against a plain walk", "crc/sizes", "crc/sizes_plain", 0},
    {"CRC-16 against the byte loop", "crc/crc16", "crc/crc16_plain", 8.0},
};

class Reporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    // The best of all repetitions counts: what disturbs a run only slows it down.
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      double time = run.GetAdjustedRealTime();
      double& best = best_[run.benchmark_name().substr(0, run.benchmark_name().find("/repeats:"))];
      if (best == 0 || time < best) best = time;
    }
  }

  void print_ratios() {
    printf("\n%-52s %8s %8s\n", "ratio", "measured", "goal");
    for (const Goal& goal : kGoals) {
      if (best_.count(goal.own) == 0 || best_.count(goal.yardstick) == 0) continue;
      printf("%-52s %8.2f", goal.what, best_[goal.yardstick] / best_[goal.own]);
      if (goal.at_least > 0) printf(" %8.2f", goal.at_least);
      printf("\n");
    }
  }

 private:
  std::map<std::string, double> best_;
};

std::string g_folder;
pid_t g_daemon;

void start_daemon() {
  char folder[] = "/dev/shm/atd-bench-XXXXXX";
  g_folder = mkdtemp(folder);
  g_daemon = fork();
  if (g_daemon == 0) {
    execl(ATD_DAEMON, "atd", "--device", g_folder.c_str(), "--log-level", "silent", static_cast<char*>(nullptr));
    _exit(127);
  }
  while (access(bench::daemon_socket().c_str(), F_OK) != 0) {
    if (waitpid(g_daemon, nullptr, WNOHANG) == g_daemon) exit(1);
    usleep(1000);
  }
  usleep(10000);
}

}  // namespace

std::string bench::daemon_socket() { return g_folder + "/dev/socket/atd"; }
pid_t bench::daemon_pid() { return g_daemon; }

int main(int argc, char** argv) {
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(static_cast<unsigned>(sched_getcpu()), &one);
  sched_setaffinity(0, sizeof one, &one);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 64;
  start_daemon();
  Reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.print_ratios();
  kill(g_daemon, SIGTERM);
  waitpid(g_daemon, nullptr, 0);
  std::filesystem::remove_all(g_folder);
  return 0;
}
