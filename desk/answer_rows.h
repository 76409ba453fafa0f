// Rows of requests and their answers, in the text files of the simulated modem and of a client that stands in for the
// platform.
#pragma once

#include <string>
#include <string_view>

#include "desk/framing.h"

namespace atd {

struct AnswerRow {
  enum class Match { any, exact, prefix };

  int opcode = 0;
  Match match = Match::any;
  bool text = false;  // exact: NULs at the end of the request's payload do not count
  std::string payload;
  bool answers = true;  // false: the request gets no answer
  Response response;
  int delay_ms = 0;
};

// Whose rows they are. Rows of the modem take status= and delay=, and `fail` means that the request gets no answer.
// Rows of the platform also take result=; `fail` is result 1 there, and `none` means that the request gets no answer.
enum class RowsOf { modem, platform };

// How a row is written, for a person; lines of at most 80 characters, each with its line end.
std::string answer_row_help(RowsOf whose);

// Reads one row; empty when all is well, else what is wrong and what would be right.
std::string parse_answer_row(std::string_view line, RowsOf whose, AnswerRow* row);

// Whether the row is for a request with that opcode and payload.
bool matches(const AnswerRow& row, int opcode, std::string_view payload);

}  // namespace atd
