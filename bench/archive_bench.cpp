// Packing a log tree of 200 MB, against the plain way on one thread. Both write the same bytes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#include <zip.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>

#include "atd.h"
#include "bench/memory_phone.h"

namespace fs = std::filesystem;

namespace {

// Files of each folder: so many of so many bytes.
constexpr struct {
  const char* folder;
  int files;
  size_t size;
} kTree[] = {
    {"logger", 15, 10'000'000}, {"anr", 100, 250'000}, {"tombstones", 200, 100'000}, {"dontpanic", 500, 10'000}};

std::string log_text() {
  constexpr const char* kWords[] = {
      "ActivityManager", "Start proc", "wlan0", "state=CONNECTED", "binder", "temperature", "/data/app/base.apk",
      "thermal_zone3",   "uid",        "u0a42"};
  std::mt19937 random(1);
  std::string text;
  while (text.size() < 4'000'000) {
    text += "01-31 13:05:" + std::to_string(random() % 60) + "." + std::to_string(random() % 1000) + "  " +
            std::to_string(random() % 9000) + "  1234 I " + kWords[random() % std::size(kWords)] + ": ";
    for (unsigned words = random() % 8; words > 0; --words) {
      text += std::string(kWords[random() % std::size(kWords)]) + " " + std::to_string(random()) + " ";
    }
    text += '\n';
  }
  return text;
}

// A phone with logs, in memory.
class LogTree : public MemoryPhone {
 public:
  LogTree() {
    static const std::string text = log_text();
    size_t from = 0;
    for (const auto& row : kTree) {
      const std::string folder = root_ + "/data/logs/" + row.folder;
      fs::create_directories(folder);
      for (int number = 0; number < row.files; ++number) {
        std::ofstream file(folder + "/log." + std::to_string(number));
        for (size_t left = row.size; left > 0;) {
          const size_t length = std::min(left, text.size() - from);
          file.write(text.data() + from, static_cast<std::streamsize>(length));
          left -= length;
          from = (from + length + 4099) % text.size();
        }
      }
    }
  }
};

// So many processors for this thread and those that it starts, until the end of the scope.
class Processors {
 public:
  explicit Processors(int count) {
    sched_getaffinity(0, sizeof before_, &before_);
    cpu_set_t all, some;
    for (unsigned cpu = 0; cpu < CPU_SETSIZE; ++cpu) CPU_SET(cpu, &all);
    sched_setaffinity(0, sizeof all, &all);
    sched_getaffinity(0, sizeof all, &all);
    CPU_ZERO(&some);
    for (unsigned cpu = 0; cpu < CPU_SETSIZE && CPU_COUNT(&some) < count; ++cpu) {
      if (CPU_ISSET(cpu, &all)) CPU_SET(cpu, &some);
    }
    are_there_ = CPU_COUNT(&some) == count;
    sched_setaffinity(0, sizeof some, &some);
  }
  ~Processors() { sched_setaffinity(0, sizeof before_, &before_); }
  bool are_there() const { return are_there_; }

 private:
  cpu_set_t before_;
  bool are_there_;
};

void add_plain(zipFile zip, const fs::path& path, size_t root_length) {
  if (fs::is_directory(path)) {
    for (const auto& entry : fs::directory_iterator(path)) add_plain(zip, entry.path(), root_length);
    return;
  }
  struct stat status;
  stat(path.c_str(), &status);
  const struct tm* time = localtime(&status.st_mtime);
  const auto field = [](int value) { return static_cast<uInt>(value); };
  const zip_fileinfo info = {{field(time->tm_sec), field(time->tm_min), field(time->tm_hour), field(time->tm_mday),
                              field(time->tm_mon), field(time->tm_year)},
                             0,
                             0,
                             0};
  zipOpenNewFileInZip3(zip, path.c_str() + root_length, &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, 1, 0, -15,
                       8, Z_DEFAULT_STRATEGY, nullptr, 0);
  FILE* file = fopen(path.c_str(), "rb");
  char piece[16384];
  while (const size_t length = fread(piece, 1, sizeof piece, file)) {
    zipWriteInFileInZip(zip, piece, static_cast<unsigned>(length));
  }
  fclose(file);
  zipCloseFileInZip(zip);
}

void pack_plain(const LogTree& tree) {
  const zipFile zip = zipOpen(tree.at("/data/plain.zip").c_str(), 0);
  add_plain(zip, tree.at("/data/logs"), tree.at("/data/logs/").size());
  zipClose(zip, nullptr);
}

void plain(benchmark::State& state) {
  const LogTree tree;
  for (auto _ : state) pack_plain(tree);
}

std::string whole(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void packed(benchmark::State& state, int processors) {
  const LogTree tree;
  const Processors these(processors);
  if (!these.are_there()) state.SkipWithError("not so many processors");
  for (auto _ : state) {
    MakeZipFile zip;
    char folder[] = "/data/logs";
    if (zip.OpenZip("/data/logs.zip") != 1 || zip.FolderToZip(folder, 1) != 0) abort();
    zip.CloseZip();
  }
  pack_plain(tree);
  if (these.are_there() && whole(tree.at("/data/logs.zip")) != whole(tree.at("/data/plain.zip"))) abort();
}

BENCHMARK(plain)->Name("archive/plain")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(packed, one, 1)->Name("archive/one_core")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(packed, two, 2)->Name("archive/two_cores")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
