// Reading what a person typed: opcodes, payloads, lines of a batch. Failures are kUsage and say what would be right.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

#include "client/output.h"

namespace atd::client {

// A name of the opcode table, or any 32-bit number, decimal or with 0x in hex.
Failure parse_opcode(const std::string& text, int32_t* opcode);

// The names of the table that look most like `name`, the nearest first, at most `count`.
std::vector<std::string> nearest_names(const std::string& name, size_t count);

// Takes a pair of hex digits off the text and appends their byte; false, and nothing taken, when there is none.
bool take_hex_pair(std::string_view* text, std::string* bytes);

// Pairs of hex digits, with or without blanks, colons or dashes between the pairs; at most 2048 bytes.
Failure parse_hex(const std::string& text, std::string* bytes);

// A text as payload, at most 2047 bytes, so that the record ends it.
Failure parse_text(const std::string& text, std::string* bytes);

// A file's bytes, "-" for standard input; at most 2048.
Failure read_payload(const std::string& file, std::string* bytes);

// A line of a batch: an opcode, and the rest behind the blanks as its text.
Failure parse_request(const std::string& line, int32_t* opcode, std::string* payload);

}  // namespace atd::client
