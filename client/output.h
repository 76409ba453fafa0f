// Answers, requests and messages for people.
#pragma once

#include <stdint.h>
#include <time.h>

#include <string>
#include <string_view>

#include "desk/message.h"
#include "desk/framing.h"
#include "dispatch/opcode_table.h"

namespace atd::client {

// The exit status for a response's result, and the result in words: "OK", "FAIL", "not supported" or its number.
int result_status(int32_t result);
std::string result_name(int32_t result);

// The result of a request, as result_name() has it, or "not built" where the opcode's row is not built yet.
std::string result_name(int32_t opcode, int32_t result);

// How the data of an answer is best shown.
enum class Shape { none, text, byte, hex };

// The shape of an answer to `row`, null for an opcode that is not listed: a text only when it is printable UTF-8.
Shape shape_of(const Opcode* row, const std::string& data);

// The text in an answer's data, without the NULs that may pad it.
std::string text_of(const std::string& data);

// Lines of sixteen bytes: their offset, the bytes in hex, and their characters.
std::string hexdump(const std::string& bytes);

// The text with control characters and what is not UTF-8 written as \n, \r, \t, \xNN.
std::string visible(const std::string& text);

// The local time of day with microseconds, "13:05:00.000001".
std::string clock_time(const timespec& time);

// The present time of day.
timespec wall_clock();

// "15 s", "0.5 s".
std::string in_words(double seconds);

// "NAME (NUMBER)", or the number alone for an opcode that is not listed.
std::string opcode_title(int32_t opcode);

// The whole answer for people: a line with the result, and the data in the lines after it.
std::string answer_text(int32_t opcode, const Response& response);

// A response in one short line: its result, and its data as far as there is room.
std::string response_text(const Response& response);

// A request in one short line: its opcode, and its payload as far as there is room.
std::string request_text(int32_t opcode, const std::string& payload);

// What stands for a malformed answer whose bytes are not to be seen, before the reason.
inline constexpr std::string_view kMalformed = "malformed: ";

// What a message says, in one short line: the record that it carries, or else its text.
std::string message_text(const Message& message);

// One word for a message's code: "answer", "platform"...
const char* code_name(int code);

}  // namespace atd::client
