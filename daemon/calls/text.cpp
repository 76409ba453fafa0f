#include "daemon/calls/text.h"

#include <stdio.h>

#include <algorithm>

#include "desk/words.h"

namespace atd {

namespace {

bool is_control(char c) {
  const unsigned char byte = static_cast<unsigned char>(c);
  return (byte < ' ' && c != '\n' && c != '\r' && c != '\t') || byte == 0x7f;
}

}  // namespace

std::string shown_bytes(const std::string& bytes) {
  const bool plain = is_utf8(bytes) && std::none_of(bytes.begin(), bytes.end(), is_control);
  return plain ? bytes : "hex:" + to_hex(bytes);
}

std::string json_hex(const std::string& bytes) { return "{\"hex\":\"" + to_hex(bytes) + "\"}"; }

std::string json_bytes(const std::string& bytes) {
  if (!is_utf8(bytes)) return json_hex(bytes);
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
