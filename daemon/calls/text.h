// Bytes as a person and a script read them.
#pragma once

#include <string>

namespace atd {

// Two lower-case hex digits a byte, and back; false for what is no pairs of digits.
std::string as_hex(const std::string& bytes);
bool from_hex(const std::string& digits, std::string* bytes);

// A text as it is; "hex:00ff" for what is not UTF-8 or has control characters other than line ends and tabs.
std::string shown_bytes(const std::string& bytes);

// The same as JSON: a text in quotes, or {"hex":"00ff"} for what is not UTF-8.
std::string json_bytes(const std::string& bytes);

}  // namespace atd
