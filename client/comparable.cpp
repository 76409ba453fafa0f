#include "client/comparable.h"

#include <fmt/format.h>

#include <iterator>

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

// All of the data, in one line.
std::string data_text(const std::string& data) {
  switch (shape_of(nullptr, data)) {
    case Shape::none: return "";
    case Shape::text: return ": \"" + visible(data) + "\"";
    default: return ": hex " + to_hex(data);
  }
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
  std::string head = std::to_string(message.code) + " ", data = message.text, shown = visible(message.text), error;
  Response response;
  Request request;
  if (message.code == kAnswerCode && decode_response(message.text, &response, &error)) {
    head += result_name(response.result);
    if (response.result_status != 0) head += fmt::format(", status {}", response.result_status);
    data = response.data;
    shown = data_text(data);
  } else if ((message.code == kPlatformCode || message.code == kCopyCode) && decode_request(message.text, &request)) {
    head += "request " + opcode_title(request.opcode);
    data = request.payload;
    shown = data_text(data);
  }
  for (const Mask& mask : masks_) data = replace(mask.regex, mask.group, data);
  return {head + ": " + data, head + shown};
}

}  // namespace atd::client
