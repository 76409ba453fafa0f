// What the platform is to answer: a text file of rows, written as the simulated modem's.
#pragma once

#include <string>
#include <vector>

#include "client/output.h"
#include "client/wire.h"

namespace atd::client {

struct AnswerRow {
  enum class Match { any, exact, prefix };

  int opcode = 0;
  Match match = Match::any;
  bool text = false;  // exact: NULs at the end of the request's payload do not count
  std::string payload;
  bool answers = true;  // else the request is left to its time-out
  Response response;
  int delay_ms = 0;
};

// How a row is written, for a person.
extern const char kAnswerRows[];

// Reads every row of a file, "-" for standard input; kUsage with the first one that makes no sense as "FILE:LINE: what
// would be right".
Failure read_answers(const std::string& file, std::vector<AnswerRow>* rows);

// The first row that matches a request, or null.
const AnswerRow* find_answer(const std::vector<AnswerRow>& rows, const Request& request);

}  // namespace atd::client
