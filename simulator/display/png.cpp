#include <zlib.h>

#include "simulator/display/image.h"

namespace atd::sim {

namespace {

void put_number(std::string* out, size_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) *out += static_cast<char>(number >> shift & 0xFF);
}

void put_chunk(std::string* out, const std::string& type, const std::string& data) {
  put_number(out, data.size());
  const size_t start = out->size();
  *out += type + data;
  put_number(out, crc32(0, reinterpret_cast<const Bytef*>(out->data() + start), static_cast<uInt>(4 + data.size())));
}

}  // namespace

std::string to_png(const Image& image) {
  std::string rows, header;
  rows.reserve(image.pixels.size() * 3 + static_cast<size_t>(image.height));
  for (size_t i = 0; i < image.pixels.size(); ++i) {
    // No filter.
    if (i % static_cast<size_t>(image.width) == 0) rows += '\0';
    for (int shift : {0, 8, 16}) rows += static_cast<char>(image.pixels[i] >> shift & 0xFF);
  }
  uLongf size = compressBound(rows.size());
  std::string packed(size, '\0');
  compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(rows.data()), rows.size(),
            Z_BEST_SPEED);
  packed.resize(size);
  put_number(&header, static_cast<size_t>(image.width));
  put_number(&header, static_cast<size_t>(image.height));
  // 8 bits a channel, red, green and blue.
  header += std::string("\x08\x02\0\0\0", 5);
  std::string out = "\x89PNG\r\n\x1a\n";
  put_chunk(&out, "IHDR", header);
  put_chunk(&out, "IDAT", packed);
  put_chunk(&out, "IEND", "");
  return out;
}

}  // namespace atd::sim
