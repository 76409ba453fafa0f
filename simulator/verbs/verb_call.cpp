#include "simulator/verbs/verb_call.h"

#include <algorithm>

#include "desk/json_bytes.h"
#include "desk/words.h"

namespace atd::sim {

namespace {

// The same with the texts that are not UTF-8 in hex.
Json as_utf8(Json json) {
  if (json.is_structured()) {
    for (Json& part : json) part = as_utf8(part);
  } else if (json.is_string()) {
    json = to_json(json.get_ref<const std::string&>());
  }
  return json;
}

}  // namespace

const std::string& VerbCall::operator[](size_t i) const {
  static const std::string none;
  return i < arguments_.size() ? arguments_[i] : none;
}

std::string VerbCall::words(size_t first, size_t end) const {
  std::string text = (*this)[first];
  while (++first < end) text += " " + (*this)[first];
  return text;
}

bool VerbCall::number(size_t i, const char* what, long long lowest, long long highest, int* value) {
  if (read_number((*this)[i], lowest, highest, value)) return true;
  fail(kUsage, std::string(what) + " is a number from " + std::to_string(lowest) + " to " + std::to_string(highest) +
                   ", not \"" + (*this)[i] + "\"");
  return false;
}

bool VerbCall::delay(size_t i, int* milliseconds) {
  *milliseconds = -1;
  if ((*this)[i] == "never" || read_number((*this)[i], 0, 86400000, milliseconds)) return true;
  fail(kUsage, "the delay is \"never\" or milliseconds from 0 to 86400000, not \"" + (*this)[i] + "\"");
  return false;
}

bool VerbCall::answer(const std::string& text, const Json& json) {
  ControlReply reply;
  reply.out = json_ ? as_utf8(json).dump() + "\n" : text;
  if (send_(reply)) return true;
  // The last reply is sent even where the phone is going away.
  last_.out += reply.out;
  return false;
}

void VerbCall::fail(int status, const std::string& error) {
  if (last_.status != 0) return;
  last_.status = status;
  last_.error = error;
}

void VerbCall::end() {
  send_(last_);
  if (last_.status == 0 && afterwards_) afterwards_();
}

std::string table(const std::vector<std::vector<std::string>>& lines) {
  std::vector<size_t> widths;
  for (const auto& cells : lines) {
    widths.resize(std::max(widths.size(), cells.size()));
    for (size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], cells[i].size());
  }
  std::string text;
  for (const auto& cells : lines) {
    std::string line;
    for (size_t i = 0; i < cells.size(); ++i) line += cells[i] + std::string(widths[i] - cells[i].size() + 2, ' ');
    text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  }
  return text;
}

}  // namespace atd::sim
