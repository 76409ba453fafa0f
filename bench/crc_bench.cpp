// The checksums, beside the plain loops that give the same.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "atd.h"
#include "bench/memory_phone.h"
#include "platform/os.h"

namespace {

namespace fs = std::filesystem;

constexpr char kPartitions[] = "/dev/block/bootdevice/by-name";
constexpr int kModemBlocks = 54000;
constexpr int kFolders = 100, kFilesInEach = 500, kFileSize = 2048;

std::string noise(size_t size) {
  std::mt19937 random(4013);
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

std::string hex(uint32_t number) {
  char text[9];
  snprintf(text, sizeof text, "%08X", number);
  return text;
}

// A phone in memory, with no other trees and partitions than the benchmark's.
class Phone : public MemoryPhone {
 public:
  Phone() {
    for (const char* tree : {"/system", "/cust", "/data/.OP"}) fs::remove_all(root_ + tree);
    fs::remove_all(root_ + kPartitions);
    fs::create_directories(root_ + kPartitions);
  }
};

struct ModemPhone : Phone {
  ModemPhone() { std::ofstream(at(kPartitions) + "/modem") << noise(size_t{kModemBlocks} * 1024); }
};

struct TreePhone : Phone {
  explicit TreePhone(const std::string& tree) {
    const std::string bytes = noise(kFileSize + kFilesInEach);
    for (int folder = 0; folder < kFolders; ++folder) {
      const std::string path = at(tree) + "/app/" + std::to_string(folder);
      fs::create_directories(path);
      for (int file = 0; file < kFilesInEach; ++file) {
        const size_t place = static_cast<size_t>(file);
        std::ofstream(path + "/Part_" + std::to_string(file) + ".odex") << bytes.substr(place, kFileSize);
      }
    }
  }
};

std::string plain_code_crc(const std::string& modem) {
  const int fd = open(modem.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) abort();
  uint32_t sum = 0;
  for (int block = 0; block < kModemBlocks; ++block) {
    Bytef bytes[1024];
    memset(bytes, 0, sizeof bytes);
    if (read(fd, bytes, sizeof bytes) < 0) abort();
    sum += static_cast<uint32_t>(crc32(crc32(0, nullptr, 0), bytes, sizeof bytes));
  }
  close(fd);
  return hex(sum);
}

void code(benchmark::State& state) {
  ModemPhone phone;
  const std::string wanted = plain_code_crc(phone.at(kPartitions) + "/modem");
  for (auto _ : state) {
    char out[9];
    if (code_crc(out) != 1 || wanted != out) abort();
  }
}

void code_plain(benchmark::State& state) {
  ModemPhone phone;
  const std::string modem = phone.at(kPartitions) + "/modem";
  for (auto _ : state) benchmark::DoNotOptimize(plain_code_crc(modem));
}

uint32_t plain_content_crc(const std::string& dir, uint32_t crc) {
  DIR* folder = opendir(dir.c_str());
  if (!folder) return crc;
  static Bytef piece[16384];
  while (const dirent* entry = readdir(folder)) {
    if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
    char path[256];
    snprintf(path, sizeof path, "%s/%s", dir.c_str(), entry->d_name);
    struct stat status;
    if (lstat(path, &status) != 0) abort();
    if (S_ISDIR(status.st_mode)) crc = plain_content_crc(path, crc);
    if (!S_ISREG(status.st_mode)) continue;
    FILE* file = fopen(path, "re");
    if (!file) abort();
    for (size_t got; (got = fread(piece, 1, sizeof piece, file)) > 0;) {
      crc = static_cast<uint32_t>(crc32(crc, piece, static_cast<uInt>(got)));
    }
    fclose(file);
  }
  closedir(folder);
  return crc;
}

void plain_list(const std::string& dir, std::map<std::string, struct stat>& list) {
  DIR* folder = opendir(dir.c_str());
  if (!folder) return;
  while (const dirent* entry = readdir(folder)) {
    if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
    const std::string path = dir + "/" + entry->d_name;
    struct stat status;
    if (lstat(path.c_str(), &status) != 0) abort();
    if (S_ISDIR(status.st_mode)) plain_list(path, list);
    else list.emplace(path, status);
  }
  closedir(folder);
}

uint32_t plain_size_crc(const std::string& dir) {
  std::map<std::string, struct stat> list;
  plain_list(dir, list);
  uint32_t crc = 0;
  for (const auto& [path, status] : list) {
    const Bytef low = static_cast<Bytef>(status.st_size);
    crc = static_cast<uint32_t>(crc32(crc, &low, 1));
  }
  return crc;
}

// What the content of one tree, or the sizes of another, make of file_crc.
template <bool sizes>
void files(benchmark::State& state) {
  TreePhone phone(sizes ? "/system" : "/cust");
  const std::string wanted = hex(sizes ? plain_size_crc(phone.at("/system")) : plain_content_crc(phone.at("/cust"), 0));
  for (auto _ : state) {
    char out[9];
    if (file_crc(out, nullptr) != 1 || wanted != out) abort();
  }
}

template <bool sizes>
void files_plain(benchmark::State& state) {
  TreePhone phone(sizes ? "/system" : "/cust");
  for (auto _ : state) {
    const std::string tree = phone.at(sizes ? "/system" : "/cust");
    benchmark::DoNotOptimize(sizes ? plain_size_crc(tree) : plain_content_crc(tree, 0));
  }
}

// A block as large as one can be.
const std::string& crc16_block() {
  static const std::string block = noise(UINT16_MAX);
  return block;
}

__attribute__((noinline)) uint16_t plain_crc16(const uint16_t* table, const std::string& block) {
  uint16_t crc = 0;
  for (const char c : block) {
    crc = static_cast<uint16_t>(table[(crc >> 8) ^ static_cast<uint8_t>(c)] ^ (crc << 8));
  }
  return crc;
}

std::vector<uint16_t> crc16_table() {
  std::vector<uint16_t> table(256);
  for (unsigned byte = 0; byte < 256; ++byte) {
    unsigned crc = byte << 8;
    for (int bit = 0; bit < 8; ++bit) crc = (crc << 1) ^ ((crc & 0x8000) != 0 ? 0x8005u : 0u);
    table[byte] = static_cast<uint16_t>(crc);
  }
  return table;
}

void crc16(benchmark::State& state) {
  const std::string& block = crc16_block();
  const uint16_t wanted = plain_crc16(crc16_table().data(), block);
  for (auto _ : state) {
    if (calculate_crc(reinterpret_cast<const uint8_t*>(block.data()), UINT16_MAX) != wanted) abort();
  }
}

void crc16_plain(benchmark::State& state) {
  const std::vector<uint16_t> table = crc16_table();
  for (auto _ : state) benchmark::DoNotOptimize(plain_crc16(table.data(), crc16_block()));
}

BENCHMARK(code)->Name("crc/code")->Unit(benchmark::kMillisecond);
BENCHMARK(code_plain)->Name("crc/code_plain")->Unit(benchmark::kMillisecond);
BENCHMARK(files<false>)->Name("crc/contents")->Unit(benchmark::kMillisecond);
BENCHMARK(files_plain<false>)->Name("crc/contents_plain")->Unit(benchmark::kMillisecond);
BENCHMARK(files<true>)->Name("crc/sizes")->Unit(benchmark::kMillisecond);
BENCHMARK(files_plain<true>)->Name("crc/sizes_plain")->Unit(benchmark::kMillisecond);
BENCHMARK(crc16)->Name("crc/crc16");
BENCHMARK(crc16_plain)->Name("crc/crc16_plain");

}  // namespace
