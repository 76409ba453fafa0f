// What atdctl prints for programs: JSON objects, each in one line, as docs/json.md describes them.
#pragma once

#include <stdint.h>
#include <time.h>

#include <string>

#include "client/batch.h"
#include "client/doctor.h"
#include "desk/message.h"
#include "desk/framing.h"
#include "dispatch/opcode_table.h"

namespace atd::client {

// A row of the opcode table.
std::string opcode_json(const Opcode& row);

// The answer to a request.
std::string answer_json(int32_t opcode, const Response& response);

// What a command ends with that could not do its work.
std::string failure_json(int status, const std::string& error);

// A line of a batch that has no answer, and why.
std::string batch_failure_json(const BatchResult& result);

// The answer to a line of a batch.
std::string batch_answer_json(const BatchResult& result);

// A line of a batch that is not sent.
std::string batch_request_json(const BatchLine& line);

// The message that a command waited for, with its time.
std::string reply_json(const timespec& time, const Message& message);

// A check of the doctor.
std::string check_json(const Check& check);

// How long a wait for the daemon took.
std::string wait_json(double seconds);

// Where a replay found that the daemon does not say the same.
struct Difference {
  int line = 0;        // of the recording
  int input_line = 0;  // of the last input, 0 for none
  int client = 0;      // that sent it
  std::string input;
  std::string expected, got;
};

// What a replay found; the `difference` is null for none.
std::string replay_json(int compared, const Difference* difference, int status, const std::string& error);

// A message, with its time and its number; "decoded" holds its record, if it carries one.
std::string message_json(const timespec& time, int sequence, const Message& message);

// That the daemon went, "gone", or came, "back".
std::string event_json(const timespec& time, const char* event);

// A message to the platform in the same way, with the answer to it, null for none.
std::string request_json(const timespec& time, int sequence, const Message& message, const Response* answer);

}  // namespace atd::client
