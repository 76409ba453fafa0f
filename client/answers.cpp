#include "client/answers.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "client/arguments.h"
#include "client/input.h"
#include "transport/records.h"

namespace atd::client {
namespace {

// The opcodes that the daemon sends to the platform.
constexpr int kFirstOpcode = 1000, kLastOpcode = 4414;

constexpr std::string_view kBlanks = " \t\r";

void skip_blanks(std::string_view* rest) {
  rest->remove_prefix(std::min(rest->find_first_not_of(kBlanks), rest->size()));
}

bool at_blank(std::string_view rest) { return rest.empty() || kBlanks.find(rest[0]) != rest.npos; }

std::string_view take_word(std::string_view* rest) {
  skip_blanks(rest);
  std::string_view word = rest->substr(0, rest->find_first_of(kBlanks));
  rest->remove_prefix(word.size());
  return word;
}

bool read_number(std::string_view word, int lowest, int highest, int* number) {
  const char* end = word.data() + word.size();
  auto [rest, error] = std::from_chars(word.data(), end, *number);
  return error == std::errc() && rest == end && *number >= lowest && *number <= highest;
}

// The text behind an opening quote, up to and with the closing one.
bool take_quoted(std::string_view* rest, std::string* bytes) {
  while (!rest->empty()) {
    char c = rest->front();
    rest->remove_prefix(1);
    if (c == '"') return true;
    if (c == '\\') {
      if (rest->empty()) return false;
      c = rest->front();
      rest->remove_prefix(1);
      if (c == 'x') {
        if (!take_hex_pair(rest, bytes)) return false;
        continue;
      }
      constexpr std::string_view kNames = "\"\\nrt", kMeanings = "\"\\\n\r\t";
      size_t which = kNames.find(c);
      if (which == kNames.npos) return false;
      c = kMeanings[which];
    }
    *bytes += c;
  }
  return false;
}

// "text" or hex:0a1b.
bool take_bytes(std::string_view* rest, std::string* bytes, bool* text) {
  *text = rest->starts_with('"');
  if (*text) {
    rest->remove_prefix(1);
    return take_quoted(rest, bytes);
  }
  if (!rest->starts_with("hex:")) return false;
  rest->remove_prefix(4);
  while (take_hex_pair(rest, bytes)) {
  }
  return true;
}

bool take_payload(std::string_view* rest, AnswerRow* row) {
  skip_blanks(rest);
  if (!rest->starts_with('*')) {
    row->match = AnswerRow::Match::exact;
    if (!take_bytes(rest, &row->payload, &row->text)) return false;
    if (!rest->starts_with('*')) return at_blank(*rest);
    row->match = AnswerRow::Match::prefix;
  }
  rest->remove_prefix(1);
  return at_blank(*rest);
}

bool take_answer(std::string_view* rest, AnswerRow* row) {
  skip_blanks(rest);
  std::string_view word = rest->substr(0, rest->find_first_of(kBlanks));
  row->answers = word != "none";
  row->response.result = word == "fail" ? RZCMD_FAIL : RZCMD_OK;
  if (word == "fail" || word == "none") return take_word(rest), true;
  bool text;
  return take_bytes(rest, &row->response.data, &text) && at_blank(*rest);
}

bool read_option(std::string_view word, AnswerRow* row) {
  if (!row->answers) return false;
  if (word.starts_with("result=")) return read_number(word.substr(7), INT_MIN, INT_MAX, &row->response.result);
  if (word.starts_with("status=")) return read_number(word.substr(7), INT_MIN, INT_MAX, &row->response.result_status);
  return word.starts_with("delay=") && read_number(word.substr(6), 0, INT_MAX, &row->delay_ms);
}

// Reads one row; what is wrong and what would be right, empty when all is well.
std::string parse_row(std::string_view rest, AnswerRow* row) {
  std::string opcode(take_word(&rest));
  if (!read_number(opcode, kFirstOpcode, kLastOpcode, &row->opcode)) {
    return "'" + opcode + "' is no opcode of the platform: write a number from 1000 to 4414";
  }
  if (!take_payload(&rest, row)) {
    return "no payload after the opcode: write *, \"text\", \"begins so\"*, hex:0a1b or hex:0a1b*";
  }
  if (!take_answer(&rest, row)) return "no answer after the payload: write \"text\", hex:0a1b, fail or none";
  size_t size = row->response.data.size();
  if (size > MAX_RZCMD_REQ_SIZE) return "an answer of " + std::to_string(size) + " bytes: write at most 2048";
  for (std::string_view word; !(word = take_word(&rest)).empty() && word[0] != '#';) {
    if (read_option(word, row)) continue;
    return "'" + std::string(word) + "' after the answer: write " +
           (row->answers ? "result=NUMBER, status=NUMBER, delay=MILLISECONDS or nothing" : "nothing behind none");
  }
  return "";
}

bool matches(const AnswerRow& row, std::string_view payload) {
  if (row.match == AnswerRow::Match::any) return true;
  if (!payload.starts_with(row.payload)) return false;
  payload.remove_prefix(row.payload.size());
  return row.match == AnswerRow::Match::prefix || payload.empty() ||
         (row.text && payload.find_first_not_of('\0') == payload.npos);
}

}  // namespace

const char kAnswerRows[] =
    "The file has rows OPCODE PAYLOAD ANSWER [result=N] [status=N] [delay=MS]; the first that matches counts:\n"
    "  OPCODE   1000 to 4414\n"
    "  PAYLOAD  *, \"text\", hex:0a1b, or \"begins so\"* and hex:0a1b*\n"
    "  ANSWER   \"text\", hex:0a1b, fail (result 1), or none (the request times out)\n"
    "Lines that begin with # are skipped. Any other request is answered with result 0 and no data.";

Failure read_answers(const std::string& file, std::vector<AnswerRow>* rows) {
  bool is_input = file == "-";
  int fd = is_input ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {kUsage, file + ": " + strerror(errno)};
  Failure failure;
  InputLines lines(fd);
  std::string line;
  for (int number = 1; !failure && lines.take(&line); ++number) {
    size_t begin = line.find_first_not_of(kBlanks);
    if (begin == line.npos || line[begin] == '#') continue;
    AnswerRow row;
    std::string error = parse_row(line, &row);
    if (!error.empty()) failure = {kUsage, file + ":" + std::to_string(number) + ": " + error};
    rows->push_back(row);
  }
  if (!failure && lines.error() != 0) failure = {kUsage, file + ": " + strerror(lines.error())};
  if (!is_input) close(fd);
  return failure;
}

const AnswerRow* find_answer(const std::vector<AnswerRow>& rows, const Request& request) {
  auto found = std::find_if(rows.begin(), rows.end(), [&](const AnswerRow& row) {
    return row.opcode == request.opcode && matches(row, request.payload);
  });
  return found == rows.end() ? nullptr : &*found;
}

}  // namespace atd::client
