#include <algorithm>
#include <cctype>
#include <iterator>

#include "simulator/display/image.h"

namespace atd::sim {

namespace {

constexpr int kGlyphWidth = 5, kGlyphHeight = 7;

// Rows from the top, the leftmost pixel in bit 4.
struct Glyph {
  char character;
  uint8_t rows[kGlyphHeight];
};

constexpr Glyph kFont[] = {
    {' ', {0, 0, 0, 0, 0, 0, 0}},
    {'%', {0x18, 0x19, 0x02, 0x04, 0x08, 0x13, 0x03}},
    {'-', {0, 0, 0, 0x1F, 0, 0, 0}},
    {'.', {0, 0, 0, 0, 0, 0x0C, 0x0C}},
    {':', {0, 0x0C, 0x0C, 0, 0x0C, 0x0C, 0}},
    {'_', {0, 0, 0, 0, 0, 0, 0x1F}},
    {'0', {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}},
    {'1', {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'2', {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}},
    {'3', {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E}},
    {'4', {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}},
    {'5', {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E}},
    {'6', {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}},
    {'7', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {'8', {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}},
    {'9', {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}},
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'B', {0x1E, 0x11, 0x11, 0x1E, 0x11, 0x11, 0x1E}},
    {'C', {0x0E, 0x11, 0x10, 0x10, 0x10, 0x11, 0x0E}},
    {'D', {0x1C, 0x12, 0x11, 0x11, 0x11, 0x12, 0x1C}},
    {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}},
    {'F', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10}},
    {'G', {0x0E, 0x11, 0x10, 0x17, 0x11, 0x11, 0x0F}},
    {'H', {0x11, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'I', {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'J', {0x07, 0x02, 0x02, 0x02, 0x02, 0x12, 0x0C}},
    {'K', {0x11, 0x12, 0x14, 0x18, 0x14, 0x12, 0x11}},
    {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'M', {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}},
    {'N', {0x11, 0x11, 0x19, 0x15, 0x13, 0x11, 0x11}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'P', {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10}},
    {'Q', {0x0E, 0x11, 0x11, 0x11, 0x15, 0x12, 0x0D}},
    {'R', {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11}},
    {'S', {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}},
    {'T', {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04}},
    {'U', {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'V', {0x11, 0x11, 0x11, 0x11, 0x11, 0x0A, 0x04}},
    {'W', {0x11, 0x11, 0x11, 0x15, 0x15, 0x15, 0x0A}},
    {'X', {0x11, 0x11, 0x0A, 0x04, 0x0A, 0x11, 0x11}},
    {'Y', {0x11, 0x11, 0x11, 0x0A, 0x04, 0x04, 0x04}},
    {'Z', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x10, 0x1F}},
};

// For what the font has not.
constexpr Glyph kBox = {'\0', {0x1F, 0x11, 0x11, 0x11, 0x11, 0x11, 0x1F}};

const Glyph& glyph_of(char c) {
  const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  const auto found =
      std::find_if(std::begin(kFont), std::end(kFont), [&](const Glyph& glyph) { return glyph.character == upper; });
  return found == std::end(kFont) ? kBox : *found;
}

constexpr uint32_t kWhite = colour(255, 255, 255), kDark = colour(24, 24, 40);
constexpr uint32_t kBars[] = {kWhite,
                              colour(255, 255, 0),
                              colour(0, 255, 255),
                              colour(0, 255, 0),
                              colour(255, 0, 255),
                              colour(255, 0, 0),
                              colour(0, 0, 255),
                              colour(0, 0, 0)};
constexpr int kBarCount = static_cast<int>(std::size(kBars));

// Fills a rectangle, or what the picture has of it.
void fill(Image* image, int left, int top, int width, int height, uint32_t pixel) {
  const int right = std::min(left + width, image->width), bottom = std::min(top + height, image->height);
  for (int y = std::max(top, 0); y < bottom; ++y) {
    for (int x = std::max(left, 0); x < right; ++x) image->pixels[static_cast<size_t>(y * image->width + x)] = pixel;
  }
}

void write_line(Image* image, int left, int top, int scale, const std::string& text) {
  for (const char c : text) {
    const Glyph& glyph = glyph_of(c);
    for (int y = 0; y < kGlyphHeight; ++y) {
      for (int x = 0; x < kGlyphWidth; ++x) {
        if (glyph.rows[y] >> (kGlyphWidth - 1 - x) & 1) {
          fill(image, left + x * scale, top + y * scale, scale, scale, kWhite);
        }
      }
    }
    left += (kGlyphWidth + 1) * scale;
  }
}

}  // namespace

Image test_card(int width, int height, const std::vector<std::string>& lines) {
  Image card{width, height, std::vector<uint32_t>(static_cast<size_t>(width) * static_cast<size_t>(height), kDark)};
  const int bars_end = height / 2, ramp_end = height * 2 / 3, border = std::max(1, std::min(width, height) / 90);
  // Each column of the bars and the ramp from its first to its last pixel, in rows, as they lie in memory.
  for (int y = 0; y < ramp_end; ++y) {
    uint32_t* row = card.pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
    if (y != 0 && y != bars_end) {
      std::copy_n(row - width, width, row);
      continue;
    }
    for (int x = 0; x < width; ++x) {
      const int grey = width > 1 ? x * 255 / (width - 1) : 0;
      row[x] = y < bars_end ? kBars[x * kBarCount / width] : colour(grey, grey, grey);
    }
  }
  size_t longest = 1;
  for (const std::string& line : lines) longest = std::max(longest, line.size());
  const int count = std::max(1, static_cast<int>(lines.size()));
  const int scale = std::max(1, std::min((width - 4 * border) / ((kGlyphWidth + 1) * static_cast<int>(longest)),
                                         (height - ramp_end - 4 * border) / ((kGlyphHeight + 3) * count)));
  int top = ramp_end + 2 * border;
  for (const std::string& line : lines) {
    write_line(&card, 2 * border, top, scale, line);
    top += (kGlyphHeight + 3) * scale;
  }
  fill(&card, 0, 0, width, border, kWhite);
  fill(&card, 0, height - border, width, border, kWhite);
  fill(&card, 0, 0, border, height, kWhite);
  fill(&card, width - border, 0, border, height, kWhite);
  return card;
}

}  // namespace atd::sim
