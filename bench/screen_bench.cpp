// The conversions of a full HD picture against the plain loops that take one pixel at a time. The picture is random: no
// branch is foreseen.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <random>
#include <vector>

#include "logs/pixels.h"

namespace {

constexpr size_t kWidth = 1080, kHeight = 1920, kBitmapRow = (kWidth + 31) / 32 * 4;
constexpr int kLimit = 90;

const std::vector<uint32_t>& picture() {
  static const std::vector<uint32_t> pixels = [] {
    std::mt19937 random(1);
    std::vector<uint32_t> made(kWidth * kHeight);
    for (uint32_t& pixel : made) pixel = static_cast<uint32_t>(random());
    return made;
  }();
  return pixels;
}

// Compiled for rows of any length, as the library is.
[[gnu::noipa]] void plain_565(const uint32_t* pixels, size_t count, uint16_t* out) {
  for (size_t i = 0; i < count; ++i) {
    const uint32_t p = pixels[i];
    out[i] = static_cast<uint16_t>(((p << 8) & 0xF800) | ((p >> 5) & 0x07E0) | ((p >> 19) & 0x001F));
  }
}

[[gnu::noipa]] void plain_bits(const uint8_t* pixels, size_t count, int limit, uint8_t* out) {
  for (size_t i = 0; i < count; ++i) {
    const int p = pixels[2 * i] << 8 | pixels[2 * i + 1];
    const int brightness = 2 * (p >> 11) + (p >> 5 & 63) + 2 * (p & 31);
    if (brightness > limit) out[i / 8] = static_cast<uint8_t>(out[i / 8] | 0x80 >> i % 8);
  }
}

template <void (*convert)(const uint32_t*, size_t, uint16_t*)>
std::vector<uint16_t> converted() {
  std::vector<uint16_t> out(kWidth * kHeight);
  for (size_t y = 0; y < kHeight; ++y) convert(picture().data() + y * kWidth, kWidth, out.data() + y * kWidth);
  return out;
}

template <void (*reduce)(const uint8_t*, size_t, int, uint8_t*)>
void all_bits(const std::vector<uint16_t>& pixels, std::vector<uint8_t>* out) {
  const uint8_t* bytes = reinterpret_cast<const uint8_t*>(pixels.data());
  for (size_t y = 0; y < kHeight; ++y) {
    reduce(bytes + y * kWidth * 2, kWidth, kLimit, out->data() + y * kBitmapRow);
  }
}

template <void (*convert)(const uint32_t*, size_t, uint16_t*)>
void convert_picture(benchmark::State& state) {
  if (converted<convert>() != converted<plain_565>()) abort();
  std::vector<uint16_t> out(kWidth * kHeight);
  for (auto _ : state) {
    for (size_t y = 0; y < kHeight; ++y) convert(picture().data() + y * kWidth, kWidth, out.data() + y * kWidth);
    benchmark::DoNotOptimize(out.data());
  }
}

template <void (*reduce)(const uint8_t*, size_t, int, uint8_t*)>
void reduce_picture(benchmark::State& state) {
  const std::vector<uint16_t> pixels = converted<plain_565>();
  std::vector<uint8_t> out(kBitmapRow * kHeight), plain(kBitmapRow * kHeight);
  all_bits<reduce>(pixels, &out);
  all_bits<plain_bits>(pixels, &plain);
  if (out != plain) abort();
  for (auto _ : state) {
    std::fill(out.begin(), out.end(), 0);
    all_bits<reduce>(pixels, &out);
    benchmark::DoNotOptimize(out.data());
  }
}

BENCHMARK(convert_picture<atd::to_565>)->Name("screen/to_565")->Unit(benchmark::kMicrosecond);
BENCHMARK(convert_picture<plain_565>)->Name("screen/to_565_plain")->Unit(benchmark::kMicrosecond);
BENCHMARK(reduce_picture<atd::to_bits>)->Name("screen/to_bits")->Unit(benchmark::kMicrosecond);
BENCHMARK(reduce_picture<plain_bits>)->Name("screen/to_bits_plain")->Unit(benchmark::kMicrosecond);

}  // namespace
