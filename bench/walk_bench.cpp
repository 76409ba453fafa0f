// The size of a card with many files, against a walk of the C library that only looks at each file.
#include <benchmark/benchmark.h>
#include <fts.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "atd.h"
#include "bench/memory_phone.h"

namespace {

constexpr int kFolders = 100, kFilesInEach = 1000;

// A phone with a card, in memory.
class Card : public MemoryPhone {
 public:
  Card() {
    for (int folder = 0; folder < kFolders; ++folder) {
      const std::string path = place() + "/DCIM/" + std::to_string(folder);
      std::filesystem::create_directories(path);
      for (int file = 0; file < kFilesInEach; ++file) {
        std::ofstream(path + "/IMG_" + std::to_string(file) + ".jpg") << "x";
      }
    }
  }
  std::string place() const { return root_ + "/storage/0000-0000"; }
};

void used_size(benchmark::State& state) {
  Card card;
  for (auto _ : state) {
    if (recursive_dir_check("/storage/0000-0000") != kFolders * kFilesInEach) abort();
  }
}

void plain_walk(benchmark::State& state) {
  Card card;
  std::string place = card.place();
  for (auto _ : state) {
    char* paths[] = {place.data(), nullptr};
    FTS* walk = fts_open(paths, FTS_PHYSICAL | FTS_NOCHDIR, nullptr);
    long long size = 0;
    while (const FTSENT* entry = fts_read(walk)) {
      if (entry->fts_info == FTS_F) size += entry->fts_statp->st_size;
    }
    fts_close(walk);
    if (size != kFolders * kFilesInEach) abort();
  }
}

BENCHMARK(used_size)->Name("card/used_size");
BENCHMARK(plain_walk)->Name("card/plain_walk");

}  // namespace
