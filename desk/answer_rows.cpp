#include "desk/answer_rows.h"

#include <limits.h>

#include <algorithm>

#include "channel/opcodes.h"
#include "desk/words.h"
#include "platform/records.h"

namespace atd {

namespace {

struct Grammar {
  const char* owner;
  int first_opcode, last_opcode;
  const char* answers;  // besides "text", hex:0a1b
  const char* options;
};

constexpr Grammar kModem = {"the modem", 0, kLastModemOpcode, " or fail", "status=NUMBER, delay=MILLISECONDS"};
constexpr Grammar kPlatform = {"the platform", kFirstPlatformOpcode, kLastPlatformOpcode, ", fail or none",
                               "result=NUMBER, status=NUMBER, delay=MILLISECONDS"};

const Grammar& grammar(RowsOf whose) { return whose == RowsOf::modem ? kModem : kPlatform; }

std::string range(const Grammar& grammar) {
  return std::to_string(grammar.first_opcode) + " to " + std::to_string(grammar.last_opcode);
}

bool at_space(std::string_view rest) { return rest.empty() || kSpaces.find(rest[0]) != kSpaces.npos; }

// "text" or hex:0a1b.
bool take_bytes(std::string_view* rest, std::string* bytes, bool* text) {
  *text = rest->starts_with('"');
  if (*text) return take_quoted(rest, bytes);
  if (!rest->starts_with("hex:")) return false;
  rest->remove_prefix(4);
  while (take_hex_pair(rest, bytes)) {
  }
  return true;
}

bool take_payload(std::string_view* rest, AnswerRow* row) {
  skip_spaces(rest);
  if (!rest->starts_with('*')) {
    row->match = AnswerRow::Match::exact;
    if (!take_bytes(rest, &row->payload, &row->text)) return false;
    if (!rest->starts_with('*')) return at_space(*rest);
    row->match = AnswerRow::Match::prefix;
  }
  rest->remove_prefix(1);
  return at_space(*rest);
}

bool take_answer(std::string_view* rest, RowsOf whose, AnswerRow* row) {
  skip_spaces(rest);
  std::string_view after = *rest;
  const std::string_view word = take_word(&after);
  if (word == "fail" || (word == "none" && whose == RowsOf::platform)) {
    row->answers = word == "fail" && whose == RowsOf::platform;
    row->response.result = RZCMD_FAIL;
    *rest = after;
    return true;
  }
  bool text;
  return take_bytes(rest, &row->response.data, &text) && at_space(*rest);
}

bool read_option(std::string_view word, RowsOf whose, AnswerRow* row) {
  const std::string_view value = word.substr(std::min(word.find('=') + 1, word.size()));
  if (word.starts_with("delay=")) return read_number(value, 0, INT_MAX, &row->delay_ms);
  if (word.starts_with("status=")) return read_number(value, INT_MIN, INT_MAX, &row->response.result_status);
  return word.starts_with("result=") && whose == RowsOf::platform &&
         read_number(value, INT_MIN, INT_MAX, &row->response.result);
}

}  // namespace

std::string answer_row_help(RowsOf whose) {
  const bool modem = whose == RowsOf::modem;
  return std::string("  OPCODE PAYLOAD ANSWER ") + (modem ? "" : "[result=N] ") + "[status=N] [delay=MS]\n\n" +
         "OPCODE   " + range(grammar(whose)) + "\n" +
         "PAYLOAD  *           any payload\n"
         "         \"text\"      this text; NULs after it do not count\n"
         "         hex:0a1b    these bytes\n"
         "         \"text\"*     what begins with this text; hex:0a1b* likewise\n"
         "ANSWER   \"text\"      this text, at most 2048 bytes; \"\" for an empty answer\n"
         "         hex:0a1b    these bytes\n" +
         (modem ? "         fail        no answer: the request fails\n"
                : "         fail        result 1 and no data\n"
                  "         none        no answer: the request times out\n"
                  "result=N             the answer's result, 0 where none is given\n") +
         "status=N             the answer's result_status, 0 where none is given\n"
         "delay=MS             milliseconds before the answer\n"
         "What follows a \"#\" after the answer is a comment.\n\n"
         "In a text \\\" \\\\ \\n \\r \\t and \\x1f stand for a quote, a backslash, the\n"
         "control characters and a byte.\n";
}

std::string parse_answer_row(std::string_view rest, RowsOf whose, AnswerRow* row) {
  const Grammar& rows = grammar(whose);
  *row = {};
  const std::string opcode(take_word(&rest));
  if (!read_number(opcode, rows.first_opcode, rows.last_opcode, &row->opcode)) {
    return "'" + opcode + "' is not an opcode of " + rows.owner + ": write a number from " + range(rows);
  }
  if (!take_payload(&rest, row)) {
    return "no payload after the opcode: write *, \"text\", \"begins so\"*, hex:0a1b or hex:0a1b*";
  }
  if (!take_answer(&rest, whose, row)) {
    return std::string("no answer after the payload: write \"text\", hex:0a1b") + rows.answers;
  }
  const size_t size = row->response.data.size();
  if (size > MAX_RZCMD_REQ_SIZE) return "an answer of " + std::to_string(size) + " bytes: write at most 2048";
  for (std::string_view word; !(word = take_word(&rest)).empty() && word[0] != '#';) {
    const bool ignored = whose == RowsOf::platform && !row->answers;
    if (!ignored && read_option(word, whose, row)) continue;
    return "'" + std::string(word) + "' after the answer: write " +
           (ignored ? "nothing after none" : std::string(rows.options) + " or nothing");
  }
  return "";
}

bool matches(const AnswerRow& row, int opcode, std::string_view payload) {
  if (row.opcode != opcode) return false;
  if (row.match == AnswerRow::Match::any) return true;
  if (!payload.starts_with(row.payload)) return false;
  payload.remove_prefix(row.payload.size());
  return row.match == AnswerRow::Match::prefix || payload.empty() ||
         (row.text && payload.find_first_not_of('\0') == payload.npos);
}

}  // namespace atd
