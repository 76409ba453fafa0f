#include "daemon/calls/text.h"

#include <stdio.h>

#include <algorithm>

namespace atd {

namespace {

// Bytes of the UTF-8 character at `at`, 0 when there is none.
size_t character_size(const std::string& text, size_t at) {
  const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0; };
  const unsigned first = byte(at);
  const size_t size = first < 0x80 ? 1 : first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : first < 0xf5 ? 4 : 0;
  for (size_t i = 1; i < size; ++i) {
    if ((byte(at + i) & 0xc0) != 0x80) return 0;
  }
  // Long forms of short characters, the halves of pairs, and what is above the last character.
  const unsigned second = byte(at + 1);
  const bool wrong = (first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) ||
                     (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f);
  return wrong ? 0 : size;
}

bool is_text(const std::string& bytes) {
  for (size_t at = 0, size; at < bytes.size(); at += size) {
    if ((size = character_size(bytes, at)) == 0) return false;
  }
  return true;
}

bool is_control(char c) {
  const unsigned char byte = static_cast<unsigned char>(c);
  return (byte < ' ' && c != '\n' && c != '\r' && c != '\t') || byte == 0x7f;
}

int digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

std::string as_hex(const std::string& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    text += kDigits[static_cast<unsigned char>(c) >> 4];
    text += kDigits[c & 15];
  }
  return text;
}

bool from_hex(const std::string& digits, std::string* bytes) {
  bytes->clear();
  for (size_t i = 0; i < digits.size(); i += 2) {
    const int high = digit(digits[i]), low = i + 1 < digits.size() ? digit(digits[i + 1]) : -1;
    if (high < 0 || low < 0) return false;
    *bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

std::string shown_bytes(const std::string& bytes) {
  const bool plain = is_text(bytes) && std::none_of(bytes.begin(), bytes.end(), is_control);
  return plain ? bytes : "hex:" + as_hex(bytes);
}

std::string json_bytes(const std::string& bytes) {
  if (!is_text(bytes)) return "{\"hex\":\"" + as_hex(bytes) + "\"}";
  std::string text = "\"";
  for (const char c : bytes) {
    char escaped[8];
    if (c == '"' || c == '\\') text += '\\';
    if (static_cast<unsigned char>(c) >= ' ') {
      text += c;
    } else {
      snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned char>(c));
      text += escaped;
    }
  }
  return text + "\"";
}

}  // namespace atd
