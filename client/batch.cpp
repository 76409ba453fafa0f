#include "client/batch.h"

#include <fmt/format.h>
#include <limits.h>

#include "client/arguments.h"
#include "client/output.h"
#include "desk/words.h"
#include "platform/records.h"

namespace atd::client {
namespace {

constexpr std::string_view kArrow = "->";

// Where the word "->" begins; npos when there is none.
size_t find_arrow(std::string_view text) {
  auto is_space = [&](size_t at) { return at >= text.size() || kSpaces.find(text[at]) != kSpaces.npos; };
  for (size_t at = text.find(kArrow); at != text.npos; at = text.find(kArrow, at + 1)) {
    if (at > 0 && is_space(at - 1) && is_space(at + kArrow.size())) return at;
  }
  return text.npos;
}

std::string_view without_spaces_at_end(std::string_view text) {
  return text.substr(0, text.find_last_not_of(kSpaces) + 1);
}

// Takes the next word if it is this one.
bool next_is(std::string_view* text, std::string_view word) {
  std::string_view rest = *text;
  if (take_word(&rest) != word) return false;
  *text = rest;
  return true;
}

Failure parse_expected(std::string_view rest, Expected* expected) {
  skip_spaces(&rest);
  expected->shown = visible(std::string(without_spaces_at_end(rest)));
  const std::string_view word = take_word(&rest);
  if (word == "OK") expected->result = RZCMD_OK;
  else if (word == "FAIL") expected->result = RZCMD_FAIL;
  else if (word == "UNSUPPORTED" || (word == "not" && next_is(&rest, "supported"))) expected->result = kNotSupported;
  else if (!read_number(word, INT_MIN, INT_MAX, &expected->result)) {
    return {kUsage,
            fmt::format("\"{}\" is not a result: write OK, FAIL, not supported, UNSUPPORTED or a number after ->; "
                        "a payload with -> in it is written as hex:HEX",
                        word)};
  }
  skip_spaces(&rest);
  if (rest.empty()) return {};
  expected->data.emplace();
  expected->is_text = !rest.starts_with("hex:");
  if (!expected->is_text) return parse_hex(std::string(rest.substr(4)), &*expected->data);
  if (rest.starts_with("text:")) rest.remove_prefix(5);
  else rest = without_spaces_at_end(rest);
  *expected->data = rest;
  return {};
}

bool is_met(const Expected& expected, const Response& response) {
  if (response.result != expected.result) return false;
  return !expected.data || *expected.data == (expected.is_text ? text_of(response.data) : response.data);
}

std::string in_csv(const std::string& text) {
  if (text.find_first_of("\",\r\n") == text.npos) return text;
  std::string quoted = "\"";
  for (char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + '"';
}

std::string in_xml(const std::string& text) {
  std::string escaped;
  for (char c : visible(text)) {
    escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : std::string(1, c);
  }
  return escaped;
}

std::string csv_row(const BatchResult& result) {
  const BatchLine& line = result.line;
  const Opcode* row = find_opcode(line.opcode);
  const bool is_answered = result.is_sent && !result.failure;
  const Response& response = result.response;
  const bool is_text = is_answered && shape_of(row, response.data) == Shape::text;
  const std::vector<std::string> cells = {std::to_string(line.number),
                                          std::to_string(line.opcode),
                                          row == nullptr ? "" : row->name,
                                          is_answered ? std::to_string(response.result) : "",
                                          is_answered ? result_name(line.opcode, response.result) : "",
                                          is_answered ? std::to_string(response.result_status) : "",
                                          is_text ? text_of(response.data) : "",
                                          is_answered ? to_hex(response.data) : "",
                                          line.expected ? line.expected->shown : "",
                                          result.is_sent || result.failure ? std::to_string(status_of(result)) : "",
                                          result.is_sent ? fmt::format("{:.6f}", result.seconds) : "",
                                          visible(result.failure.text)};
  std::string text;
  for (const std::string& cell : cells) text += (text.empty() ? "" : ",") + in_csv(cell);
  return text + "\r\n";
}

}  // namespace

Failure parse_batch_line(BatchLine* line) {
  const size_t arrow = find_arrow(line->text);
  const std::string_view text = line->text;
  const std::string_view request = arrow == text.npos ? text : without_spaces_at_end(text.substr(0, arrow));
  Failure failure = parse_request(std::string(request), &line->opcode, &line->payload);
  if (failure || arrow == text.npos) return failure;
  return parse_expected(text.substr(arrow + kArrow.size()), &line->expected.emplace());
}

int status_of(const BatchResult& result) {
  if (result.failure) return result.failure.status;
  if (result.line.expected) return is_met(*result.line.expected, result.response) ? kOk : kFailed;
  return result_status(result.response.result);
}

std::string csv_report(const std::vector<BatchResult>& results) {
  std::string text = "line,opcode,name,result,result_name,result_status,text,hex,expected,status,seconds,error\r\n";
  for (const BatchResult& result : results) text += csv_row(result);
  return text;
}

std::string junit_report(const std::string& name, const std::vector<BatchResult>& results) {
  std::string tests;
  int failures = 0, errors = 0, skipped = 0;
  double seconds = 0;
  for (const BatchResult& result : results) {
    const BatchLine& line = result.line;
    std::string inside;
    if (result.failure) {
      ++errors;
      inside = fmt::format("<error message=\"{}\"/>", in_xml(result.failure.text));
    } else if (!result.is_sent) {
      ++skipped;
      inside = "<skipped/>";
    } else if (status_of(result) != kOk) {
      ++failures;
      const std::string expected = line.expected ? "expected " + line.expected->shown + ", got " : "";
      const std::string got = response_text(result.response);
      inside = fmt::format("<failure message=\"{}\">{}</failure>", in_xml(expected + got), in_xml(got));
    }
    seconds += result.seconds;
    tests += fmt::format("  <testcase classname=\"{}\" name=\"{}: {}\" time=\"{:.6f}\">{}</testcase>\n", in_xml(name),
                         line.number, in_xml(line.text), result.seconds, inside);
  }
  return fmt::format(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<testsuite name=\"{}\" tests=\"{}\" failures=\"{}\" errors=\"{}\" skipped=\"{}\" time=\"{:.6f}\">\n{}"
      "</testsuite>\n",
      in_xml(name), results.size(), failures, errors, skipped, seconds, tests);
}

}  // namespace atd::client
