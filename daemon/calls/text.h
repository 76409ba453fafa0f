// Bytes as a person and a script read them.
#pragma once

#include <string>

namespace atd {

// A text as it is; "hex:00ff" for what is not UTF-8 or has control characters other than line ends and tabs.
std::string shown_bytes(const std::string& bytes);

// Bytes as JSON: {"hex":"00ff"}.
std::string json_hex(const std::string& bytes);

// The same for what is not UTF-8, and for a text the text in quotes.
std::string json_bytes(const std::string& bytes);

}  // namespace atd
