// Bytes as a script reads them.
#pragma once

#include <string>

namespace atd {

// Bytes as JSON: {"hex":"00ff"}.
std::string json_hex(const std::string& bytes);

// The same for what is not UTF-8, and for a text the text in quotes.
std::string json_bytes(const std::string& bytes);

}  // namespace atd
