// What atdctl prints and how it ends: exit statuses, complaints, answers made for eyes.
#pragma once

#include <stdint.h>
#include <time.h>

#include <span>
#include <string>

#include "desk/message.h"
#include "desk/records.h"
#include "dispatch/opcode_table.h"

namespace atd::client {

enum Status {
  kOk = 0,
  kFailed = 1,
  kUnsupported = 2,
  kOther = 3,
  kUsage = 64,
  kNoDaemon = 69,
  kTimedOut = 75,
};

struct StatusMeaning {
  int status;
  const char* meaning;
};

// Every exit status and what it means, by number.
std::span<const StatusMeaning> statuses();

// The graver of two exit statuses: 69, 75, 64, 3, 2, 1, 0.
int worse(int a, int b);

// Why a command could not do its work; false as a truth value when it could.
struct Failure {
  int status = kOk;
  std::string text;
  explicit operator bool() const { return status != kOk; }
};

// Prints "atdctl: TEXT" on standard error, in one line, and gives the status back.
int complain(const Failure& failure);

// Prints a text on standard output and flushes it, so that a pipe's reader has it at once.
void print(const std::string& text);

// The exit status for a response's result, and the result in words: "OK", "FAIL", "not supported" or its number.
int result_status(int32_t result);
std::string result_name(int32_t result);

// How the data of an answer is best shown.
enum class Shape { none, text, byte, hex };

// The shape of an answer to `row`, null for an opcode that is not listed: a text only when it is printable UTF-8.
Shape shape_of(const Opcode* row, const std::string& data);

// The text in an answer's data, without the NULs that may pad it.
std::string text_of(const std::string& data);

// Lines of an offset, sixteen bytes in hex, and their characters.
std::string hexdump(const std::string& bytes);

// The text with what a terminal might act upon as \n, \r, \t, \xNN.
std::string visible(const std::string& text);

// The local time of day with microseconds, "13:05:00.000001".
std::string clock_time(const timespec& time);

// "15 s", "0.5 s".
std::string in_words(double seconds);

// "NAME (NUMBER)", or the number alone for an opcode that is not listed.
std::string opcode_title(int32_t opcode);

// The whole answer for eyes: a line with the result, and the data in the lines behind it.
std::string answer_text(int32_t opcode, const Response& response);

// A response in one short line: its result, and its data as far as there is room.
std::string response_text(const Response& response);

// What a message says beyond its text, in one short line: the record that it carries, or else the visible text.
std::string message_text(const Message& message);

// One word for a message's code: "answer", "platform"...
const char* code_name(int code);

}  // namespace atd::client
