// A picture in memory.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

namespace atd::sim {

struct Image {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> pixels;  // row by row; red in the lowest byte, then green, blue and alpha
};

constexpr uint32_t colour(int red, int green, int blue) {
  return 0xFF000000 | static_cast<uint32_t>(blue) << 16 | static_cast<uint32_t>(green) << 8 |
         static_cast<uint32_t>(red);
}

// Pixels of 16 bits, red in the highest five, and back: what was lost is filled with the highest bits.
constexpr uint16_t narrow(uint32_t pixel) {
  return static_cast<uint16_t>((pixel & 0xFF) >> 3 << 11 | (pixel >> 8 & 0xFF) >> 2 << 5 | (pixel >> 16 & 0xFF) >> 3);
}
constexpr uint32_t widen(uint16_t pixel) {
  const int red = pixel >> 11, green = pixel >> 5 & 63, blue = pixel & 31;
  return colour(red << 3 | red >> 2, green << 2 | green >> 4, blue << 3 | blue >> 2);
}

// A PNG file of a picture, without its alpha.
std::string to_png(const Image& image);

// A test card: colour bars, a grey ramp, lines of text and a white border.
Image test_card(int width, int height, const std::vector<std::string>& lines);

}  // namespace atd::sim
