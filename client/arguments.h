// Reading what a person typed: opcodes, payloads, lines of a batch. Failures are kUsage and say what would be right.
#pragma once

#include <stdint.h>

#include <string>

#include "client/failure.h"

namespace atd::client {

// A name of the opcode table, or any 32-bit number, decimal or with 0x in hex.
Failure parse_opcode(const std::string& text, int32_t* opcode);

// Pairs of hex digits, with or without spaces, colons or dashes between the pairs; at most 2048 bytes.
Failure parse_hex(const std::string& text, std::string* bytes);

// A text as payload, at most 2047 bytes, so that a NUL follows it in the record.
Failure parse_text(const std::string& text, std::string* bytes);

// How a person gave a payload.
enum class Given {
  nothing,
  text,
  bytes,    // in a way that names its bytes
  reading,  // not, to read
};

// Whether the opcode takes such a payload. An opcode that is not listed takes any.
Failure check_payload(int32_t opcode, Given given, const std::string& payload);

// The request in a line of a batch: an opcode, and after the spaces a text, text:TEXT or hex:HEX.
Failure parse_request(const std::string& line, int32_t* opcode, std::string* payload);

}  // namespace atd::client
