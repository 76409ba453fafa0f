#include "desk/words.h"

#include <errno.h>
#include <stdlib.h>

#include <algorithm>

#include "text/hex.h"

namespace atd {

bool is_comment(std::string_view line) {
  skip_spaces(&line);
  return line.empty() || line[0] == '#';
}

void skip_spaces(std::string_view* text) {
  text->remove_prefix(std::min(text->find_first_not_of(kSpaces), text->size()));
}

std::string_view take_word(std::string_view* text) {
  skip_spaces(text);
  const std::string_view word = text->substr(0, text->find_first_of(kSpaces));
  text->remove_prefix(word.size());
  return word;
}

bool take_hex_pair(std::string_view* text, std::string* bytes) {
  if (text->size() < 2) return false;
  const int high = hex_digit((*text)[0]), low = hex_digit((*text)[1]);
  if (high < 0 || low < 0) return false;
  *bytes += static_cast<char>(high << 4 | low);
  text->remove_prefix(2);
  return true;
}

bool take_quoted(std::string_view* text, std::string* bytes) {
  constexpr std::string_view kNames = "\"\\nrt", kMeanings = "\"\\\n\r\t";
  if (text->empty() || text->front() != '"') return false;
  text->remove_prefix(1);
  while (!text->empty()) {
    char c = text->front();
    text->remove_prefix(1);
    if (c == '"') return true;
    if (c == '\\') {
      if (text->empty()) return false;
      c = text->front();
      text->remove_prefix(1);
      if (c == 'x') {
        if (!take_hex_pair(text, bytes)) return false;
        continue;
      }
      const size_t which = kNames.find(c);
      if (which == kNames.npos) return false;
      c = kMeanings[which];
    }
    *bytes += c;
  }
  return false;
}

bool read_number(std::string_view word, long long lowest, long long highest, int* number) {
  const std::string text(word);
  if (text.empty() || text.find_first_not_of("-0123456789") != text.npos) return false;
  char* end = nullptr;
  errno = 0;
  const long long value = strtoll(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || value < lowest || value > highest) return false;
  *number = static_cast<int>(value);
  return true;
}

std::string to_hex(std::string_view bytes) {
  std::string text;
  for (unsigned char byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

bool from_hex(std::string_view digits, std::string* bytes) {
  bytes->clear();
  while (take_hex_pair(&digits, bytes)) {
  }
  return digits.empty();
}

std::string wrapped(std::string_view text, size_t indent, size_t width) {
  std::string lines;
  size_t column = indent;
  for (std::string_view word; !(word = take_word(&text)).empty(); column += word.size()) {
    const bool fits = column + 1 + word.size() <= width;
    if (!lines.empty()) lines += fits ? " " : "\n" + std::string(indent, ' ');
    if (!lines.empty()) column = fits ? column + 1 : indent;
    lines += word;
  }
  return lines + '\n';
}

std::string in_columns(std::string left, size_t column, std::string_view text) {
  if (left.size() + 2 > column) left += "\n" + std::string(column, ' ');
  else left.resize(column, ' ');
  return left + wrapped(text, column, kColumns);
}

size_t utf8_size(std::string_view text, size_t at) {
  auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
  const unsigned first = byte(at);
  if (first < 0x80) return at < text.size() ? 1 : 0;
  if (first < 0xc2 || first > 0xf4) return 0;
  const size_t size = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
  for (size_t i = 1; i < size; ++i) {
    if ((byte(at + i) & 0xc0) != 0x80) return 0;
  }
  const bool overlong = (first == 0xe0 && byte(at + 1) < 0xa0) || (first == 0xf0 && byte(at + 1) < 0x90);
  const bool no_scalar = (first == 0xed && byte(at + 1) >= 0xa0) || (first == 0xf4 && byte(at + 1) >= 0x90);
  return overlong || no_scalar ? 0 : size;
}

bool is_utf8(std::string_view bytes) {
  size_t at = 0;
  while (const size_t size = utf8_size(bytes, at)) at += size;
  return at == bytes.size();
}

std::string shown(const std::string& bytes) {
  const auto is_control = [](char c) {
    return (static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\r' && c != '\t') || c == 0x7f;
  };
  const bool plain = is_utf8(bytes) && std::none_of(bytes.begin(), bytes.end(), is_control);
  return plain ? bytes : "hex:" + to_hex(bytes);
}

}  // namespace atd
