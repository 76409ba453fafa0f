#include "daemon/calls/text.h"

#include <stdio.h>

#include "desk/words.h"

namespace atd {

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
