#include "client/comparable.h"

#include <fmt/format.h>

#include <iterator>

#include "client/output.h"
#include "desk/words.h"

namespace atd::client {
namespace {

// The second group is masked. A part of an address such as 00:11:22:33:44:55 is not a time.
constexpr const char* kTimes[] = {
    "(^|[^0-9])([0-9]{4}[-/][0-9]{2}[-/][0-9]{2})($|[^0-9])",
    "(^|[^0-9:])([0-9]{1,2}:[0-9]{2}:[0-9]{2}([.,][0-9]+)?)($|[^0-9:])",
};

constexpr char kMasked[] = "<masked>";

std::string replace(const regex_t& regex, int group, const std::string& text) {
  std::string result;
  size_t at = 0;
  while (at < text.size()) {
    regmatch_t matches[3] = {};
    matches[0] = {static_cast<regoff_t>(at), static_cast<regoff_t>(text.size())};
    // With its bounds given, a text may contain NULs.
    if (regexec(&regex, text.data(), std::size(matches), matches, REG_STARTEND | (at > 0 ? REG_NOTBOL : 0)) != 0) break;
    size_t begin = matches[group].rm_so, end = matches[group].rm_eo;
    result.append(text, at, begin - at);
    if (begin < end) result += kMasked;
    else if (begin < text.size()) result += text[end++];
    at = end;
  }
  return at < text.size() ? result.append(text, at) : result;
}

struct Parts {
  std::string head;  // the code, and what else is not data
  std::string data;  // of the record, or else the text
  bool is_record = false;
};

Parts parts_of(const Message& message) {
  std::string head = std::to_string(message.code) + " ", error;
  Response response;
  Request request;
  if (message.code == kAnswerCode && decode_response(message.text, &response, &error)) {
    head += result_name(response.result);
    if (response.result_status != 0) head += fmt::format(", status {}", response.result_status);
    return {head, response.data, true};
  }
  if ((message.code == kPlatformCode || message.code == kCopyCode) && decode_request(message.text, &request)) {
    return {head + "request " + opcode_title(request.opcode), request.payload, true};
  }
  return {head, message.text};
}

}  // namespace

Masks::Masks() {
  for (const char* pattern : kTimes) add(pattern, 2);
}

Masks::~Masks() {
  for (Mask& mask : masks_) regfree(&mask.regex);
}

Failure Masks::add(const std::string& pattern) { return add(pattern.c_str(), 0); }

Failure Masks::add(const char* pattern, int group) {
  regex_t regex;
  if (int error = regcomp(&regex, pattern, REG_EXTENDED)) {
    char reason[128];
    regerror(error, &regex, reason, sizeof reason);
    return {kUsage, fmt::format("\"{}\" is not an extended regular expression: {}", pattern, reason)};
  }
  masks_.push_back({regex, group});
  return {};
}

Comparable Masks::apply(const Message& message) const {
  Parts parts = parts_of(message);
  for (const Mask& mask : masks_) parts.data = replace(mask.regex, mask.group, parts.data);
  return {parts.head + ": " + parts.data, message};
}

std::string full_text(const Message& message) {
  const auto [head, data, is_record] = parts_of(message);
  if (!is_record) return head + visible(data);
  switch (shape_of(nullptr, data)) {
    case Shape::none: return head;
    case Shape::text: return head + ": \"" + visible(data) + "\"";
    default: return head + ": hex " + to_hex(data);
  }
}

}  // namespace atd::client
