// Whole round trips through a daemon's socket, against a bare echo over the same kind of socket that takes the same
// request and gives the same answer.
#include <benchmark/benchmark.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/peers.h"
#include "desk/framing.h"
#include "desk/socket_address.h"
#include "platform/records.h"

namespace {

constexpr int kGetSerialNumber = 4010;
constexpr int kGetDiagTtyBlock = 4081;  // answers without touching the phone: the transport alone

std::string whole_request(int opcode) {
  return atd::request_line(opcode, std::string(MAX_RZCMD_REQ_SIZE, '\0')) + '\0';
}

// Waits as a client with a time-out does, such as atdctl.
void receive(int fd, size_t length) {
  char block[4096];
  while (length > 0) {
    struct pollfd readable = {fd, POLLIN, 0};
    if (poll(&readable, 1, 15000) <= 0) abort();
    ssize_t got = recv(fd, block, sizeof block, 0);
    if (got <= 0) abort();
    length -= static_cast<size_t>(got);
  }
}

size_t answer_length(int fd, const std::string& line) {
  char block[4096];
  if (send(fd, line.data(), line.size(), 0) < 0) abort();
  size_t length = 0;
  do {
    ssize_t got = recv(fd, block + length, sizeof block - length, 0);
    if (got <= 0) abort();
    length += static_cast<size_t>(got);
  } while (block[length - 1] != '\0');
  return length;
}

void round_trip(benchmark::State& state) {
  const std::string line = whole_request(static_cast<int>(state.range(0)));
  int fd = atd::connect_to(bench::daemon_socket());
  size_t answer = answer_length(fd, line);
  for (auto _ : state) {
    if (send(fd, line.data(), line.size(), 0) < 0) abort();
    receive(fd, answer);
  }
  close(fd);
}

void echo(benchmark::State& state) {
  const std::string line = whole_request(kGetDiagTtyBlock);
  int probe = atd::connect_to(bench::daemon_socket());
  size_t answer = answer_length(probe, line);
  close(probe);
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) abort();
  pid_t child = fork();
  if (child == 0) {
    close(pair[0]);
    char block[16384] = {};
    size_t taken = 0;
    for (ssize_t got; (got = recv(pair[1], block, sizeof block, 0)) > 0;) {
      taken += static_cast<size_t>(got);
      if (taken < line.size()) continue;
      taken -= line.size();
      if (send(pair[1], block, answer, 0) < 0) break;
    }
    _exit(0);
  }
  close(pair[1]);
  for (auto _ : state) {
    if (send(pair[0], line.data(), line.size(), 0) < 0) abort();
    receive(pair[0], answer);
  }
  close(pair[0]);
  waitpid(child, nullptr, 0);
}

void many_clients(benchmark::State& state) {
  const std::string line = whole_request(kGetDiagTtyBlock);
  std::vector<int> clients;
  for (int i = 0; i < state.range(0); ++i) clients.push_back(atd::connect_to(bench::daemon_socket()));
  // An answer goes to every client, so each connection must have been accepted: its own answer shows that.
  size_t answer = 0;
  for (int fd : clients) {
    std::string word("x", 2);
    answer_length(fd, word);
  }
  answer = answer_length(clients[0], line);
  for (size_t i = 1; i < clients.size(); ++i) receive(clients[i], answer);
  size_t next = 0;
  for (auto _ : state) {
    if (send(clients[next], line.data(), line.size(), 0) < 0) abort();
    for (int fd : clients) receive(fd, answer);
    next = (next + 1) % clients.size();
  }
  state.counters["requests/s"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  for (int fd : clients) close(fd);
}

// Without the log's mapped files.
long resident_kib() {
  std::ifstream status("/proc/" + std::to_string(bench::daemon_pid()) + "/status");
  for (std::string word; status >> word;) {
    long kib;
    if (word == "RssAnon:" && status >> kib) return kib;
  }
  return -1;
}

long descriptors() {
  long count = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator("/proc/" + std::to_string(bench::daemon_pid()) + "/fd")) {
    (void)entry;
    ++count;
  }
  return count;
}

void growth(benchmark::State& state) {
  const std::string line = whole_request(kGetDiagTtyBlock);
  for (auto _ : state) {
    int fd = atd::connect_to(bench::daemon_socket());
    size_t answer = answer_length(fd, line);
    auto ask = [&](int times) {
      for (int i = 0; i < times; ++i) {
        if (send(fd, line.data(), line.size(), 0) < 0) abort();
        receive(fd, answer);
      }
    };
    ask(20000);  // until the log buffers have been filled once
    long kib = resident_kib(), fds = descriptors();
    ask(100000);
    state.counters["anonymous_KiB"] = static_cast<double>(resident_kib());
    state.counters["growth_KiB"] = static_cast<double>(resident_kib() - kib);
    state.counters["growth_fds"] = static_cast<double>(descriptors() - fds);
    close(fd);
  }
}

BENCHMARK(round_trip)->Name("socket/record_round_trip")->Arg(kGetDiagTtyBlock)->Arg(kGetSerialNumber)->UseRealTime();
BENCHMARK(echo)->Name("socket/bare_echo")->UseRealTime();
BENCHMARK(many_clients)->Name("socket/clients")->Arg(1)->Arg(8)->Arg(64)->UseRealTime();
BENCHMARK(growth)
    ->Name("socket/growth_over_100000_requests")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
