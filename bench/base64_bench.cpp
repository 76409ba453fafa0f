// The codec of a whole record against the plain loop that takes three bytes, or one character, at a time.
#include <benchmark/benchmark.h>
#include <stdint.h>

#include <random>
#include <string>

#include "transport/base64.h"

namespace {

constexpr int kRecord = 2060;
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string record() {
  std::mt19937 random(1);
  std::string bytes(kRecord, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

std::string text() {
  std::string result(atd::base64_text_size(kRecord), '\0');
  atd::base64_encode(record().data(), kRecord, result.data());
  return result;
}

int plain_encode(const void* src, int len, char* dst) {
  const uint8_t* in = static_cast<const uint8_t*>(src);
  char* out = dst;
  for (; len >= 3; len -= 3, in += 3) {
    *out++ = kAlphabet[in[0] >> 2];
    *out++ = kAlphabet[(in[0] & 3) << 4 | in[1] >> 4];
    *out++ = kAlphabet[(in[1] & 15) << 2 | in[2] >> 6];
    *out++ = kAlphabet[in[2] & 63];
  }
  if (len > 0) {
    *out++ = kAlphabet[in[0] >> 2];
    *out++ = kAlphabet[(in[0] & 3) << 4 | (len == 2 ? in[1] >> 4 : 0)];
    *out++ = len == 2 ? kAlphabet[(in[1] & 15) << 2] : '=';
    *out++ = '=';
  }
  *out = '\0';
  return static_cast<int>(out - dst);
}

const uint32_t* plain_table() {
  static uint32_t table[256];
  for (uint32_t& value : table) value = 0xFFFFFFFF;
  for (uint32_t i = 0; i < 64; ++i) table[static_cast<uint8_t>(kAlphabet[i])] = i;
  return table;
}

int plain_decode(const char* src, void* dst, int max) {
  static const uint32_t* table = plain_table();
  uint8_t* out = static_cast<uint8_t*>(dst);
  uint32_t previous = 0;
  int position = 0, written = 0;
  for (; *src; ++src) {
    uint32_t value = table[static_cast<uint8_t>(*src)];
    if (value == 0xFFFFFFFF) continue;
    uint32_t byte = 0;
    switch (position) {
      case 0: break;
      case 1: byte = previous << 2 | value >> 4; break;
      case 2: byte = (previous & 15) << 4 | value >> 2; break;
      case 3: byte = (previous & 3) << 6 | value; break;
    }
    if (position != 0 && written < max) out[written++] = static_cast<uint8_t>(byte);
    previous = value;
    position = (position + 1) & 3;
  }
  return written;
}

template <int (*codec)(const void*, int, char*)>
void encode(benchmark::State& state) {
  const std::string bytes = record();
  char out[4096];
  for (auto _ : state) {
    benchmark::DoNotOptimize(codec(bytes.data(), kRecord, out));
    benchmark::ClobberMemory();
  }
}

template <int (*codec)(const char*, void*, int)>
void decode(benchmark::State& state) {
  const std::string characters = text();
  char out[4096];
  for (auto _ : state) {
    benchmark::DoNotOptimize(codec(characters.c_str(), out, kRecord));
    benchmark::ClobberMemory();
  }
}

BENCHMARK(encode<atd::base64_encode>)->Name("base64/encode");
BENCHMARK(encode<plain_encode>)->Name("base64/encode_plain");
BENCHMARK(decode<atd::base64_decode>)->Name("base64/decode");
BENCHMARK(decode<plain_decode>)->Name("base64/decode_plain");

}  // namespace
