// The copy of a log file, against the loop of fgets and fputs with 256 bytes whose outcome it has.
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <filesystem>
#include <memory>
#include <string>

#include "atd.h"
#include "bench/memory_phone.h"
#include "platform/os.h"
#include "simulator/files.h"

namespace {

constexpr size_t kSize = 8 << 20;
constexpr char kSource[] = "/data/logger/", kOwn[] = "/data/own/", kPlain[] = "/data/plain/";

// Lines as logs have them, of 40 to 200 characters, some of 600; NULs in a file that a crash has left.
std::string log_text(bool has_nuls) {
  std::string text;
  for (unsigned line = 0; text.size() < kSize; ++line) {
    text += "01-01 09:11:58.204  912  930 I ActivityManager: ";
    text.append(line % 100 == 0 ? 600 : line * 7919 % 150, 'x');
    if (has_nuls && line % 50 == 0) text.append(line % 1000 == 0 ? 4096 : 3, '\0');
    text += '\n';
  }
  return text;
}

// A phone in memory with one log file.
class Logs : public MemoryPhone {
 public:
  explicit Logs(bool has_nuls) {
    std::filesystem::remove_all(root_ + kSource);
    for (const char* folder : {kSource, kOwn, kPlain}) std::filesystem::create_directories(root_ + folder);
    if (!atd::sim::write_file(root_ + kSource + "main.log", log_text(has_nuls))) abort();
  }

  std::string copied(const char* folder) const {
    std::string text;
    atd::sim::read_file(root_ + folder + "main.log", &text);
    return text;
  }
};

void own_copy() {
  char source[sizeof kSource], destination[sizeof kOwn];
  stpcpy(source, kSource);
  stpcpy(destination, kOwn);
  copy_log(destination, source);
}

void plain_copy() {
  FILE* in = fopen(atd::device_path((std::string(kSource) + "main.log").c_str()), "re");
  FILE* out = fopen(atd::device_path((std::string(kPlain) + "main.log").c_str()), "we");
  if (!in || !out) abort();
  for (char line[256]; fgets(line, sizeof line, in);) fputs(line, out);
  fclose(in);
  fclose(out);
}

template <void (*copy)(), bool has_nuls>
void log_copy(benchmark::State& state) {
  Logs logs(has_nuls);
  for (auto _ : state) copy();
  own_copy();
  plain_copy();
  if (logs.copied(kOwn) != logs.copied(kPlain) || logs.copied(kOwn).empty()) abort();
}

BENCHMARK(log_copy<own_copy, false>)->Name("logs/copy");
BENCHMARK(log_copy<plain_copy, false>)->Name("logs/plain_copy");
BENCHMARK(log_copy<own_copy, true>)->Name("logs/copy_with_nuls");
BENCHMARK(log_copy<plain_copy, true>)->Name("logs/plain_copy_with_nuls");

}  // namespace
