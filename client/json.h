// What atdctl prints for programs: JSON objects, each in one line. Fields that do not apply are null. A text that is
// not UTF-8 is null too, and its bytes are in the field "hex".
#pragma once

#include <stdint.h>
#include <time.h>

#include <string>

#include "desk/message.h"
#include "desk/framing.h"
#include "dispatch/opcode_table.h"

namespace atd::client {

// A row of the opcode table.
std::string opcode_json(const Opcode& row);

// An answer; with a `line` above 0 the object begins with the number of the request's line.
std::string answer_json(int line, int32_t opcode, const Response& response);

// A request of a batch that has no answer, and why.
std::string failure_json(int line, const std::string& request, int status, const std::string& error);

// A message, with its time and its number; "decoded" holds its record, if it carries one.
std::string message_json(const timespec& time, int sequence, const Message& message);

// A message to the platform in the same way, with the answer to it, null for none.
std::string request_json(const timespec& time, int sequence, const Message& message, const Response* answer);

}  // namespace atd::client
