#include "daemon/calls/parameters.h"

#include <errno.h>
#include <stdlib.h>

#include <algorithm>

#include "daemon/calls/text.h"
#include "desk/words.h"

namespace atd {

namespace {

std::string range(const ParameterType& type) {
  return "number from " + std::to_string(type.lowest) + " to " + std::to_string(type.highest) + ", or 0x and hex";
}

std::string take_number(const std::string& word, const ParameterType& type, Slot* slot) {
  const bool hex = word.find_first_of("xX") != word.npos;
  char* end = nullptr;
  errno = 0;
  slot->number = strtoll(word.c_str(), &end, hex ? 16 : 10);
  const bool all = end == word.c_str() + word.size();
  const bool whole = all && !word.empty() && word[0] > ' ' && word[0] != '+' && errno == 0;
  if (whole && slot->number >= type.lowest && slot->number <= type.highest) return "";
  return "is no " + range(type);
}

std::string take_bytes(const std::string& word, const Parameter& parameter, Slot* slot) {
  slot->bytes = word;
  if (word.compare(0, 5, "text:") == 0) slot->bytes = word.substr(5);
  if (word.compare(0, 4, "hex:") == 0 && !from_hex(word.substr(4), &slot->bytes)) return "is no pairs of hex digits";
  const size_t got = slot->bytes.size();
  if (parameter.size == 0 && parameter.counted) return "";
  // A function may tell a whole text again, with its NUL.
  const size_t most = parameter.size != 0 ? parameter.size : kToldSize - 1;
  const std::string room = std::to_string(most) + (most == 1 ? " byte" : " bytes");
  if (parameter.binary && got != most) return "has " + std::to_string(got) + " bytes; write " + room + " as hex:00ff";
  if (got > most) return "has " + std::to_string(got) + " bytes; there is room for " + room;
  if (parameter.size != 0) slot->bytes.resize(parameter.size);
  else if (slot->bytes.find('\0') != std::string::npos) return "is a text with a NUL in it";
  return "";
}

// What the function has put there, for its caller.
std::string bytes_told(const Parameter& parameter, const Slot& slot, const Slot* length) {
  if (length) {
    return slot.bytes.substr(
        0, static_cast<size_t>(std::max(0, std::min(length->word, static_cast<int>(parameter.size)))));
  }
  if (parameter.size == 0) return slot.bytes.c_str();
  return slot.bytes.substr(0, parameter.binary ? parameter.size : slot.bytes.find_last_not_of('\0') + 1);
}

}  // namespace

std::vector<Parameter> parameters_of(const Call& call) {
  std::vector<Parameter> parameters;
  const std::string arguments = call.arguments;
  for (size_t at = 0, index = 0; at < arguments.size();) {
    const size_t end = std::min(arguments.find(' ', at), arguments.size());
    const std::string word = arguments.substr(at, end - at);
    Parameter parameter;
    parameter.text = word.substr(0, word.find_first_of(":*#"));
    parameter.given = word[0] >= 'A' && word[0] <= 'Z';
    parameter.counted = word.back() == '#';
    parameter.binary = word.find('*') != word.npos;
    if (word.size() > parameter.text.size() + 1)
      parameter.size = strtoul(word.c_str() + parameter.text.size() + 1, nullptr, 10);
    parameter.index = index;
    index += parameter.counted ? 2 : 1;
    parameters.push_back(parameter);
    at = end + 1;
  }
  return parameters;
}

std::string take(const std::string& word, const ParameterType& type, const Parameter& parameter, Slot* slot) {
  if (type.kind == Kind::number) return take_number(word, type, slot);
  if (type.kind == Kind::text) return take_bytes(word, parameter, slot);
  slot->bytes = word;
  return word.size() == 1 ? "" : "is not one character";
}

std::string wanted(const ParameterType& type, const Parameter& parameter) {
  if (type.kind == Kind::number) return "a " + range(type);
  if (type.kind == Kind::character) return "one character";
  if (parameter.binary) return std::to_string(parameter.size) + " bytes, as hex:00ff or text:...";
  if (parameter.size != 0) return "at most " + std::to_string(parameter.size) + " bytes: a text, hex:00ff or text:...";
  return parameter.counted ? "bytes: a text, hex:00ff or text:..." : "a text";
}

std::string told(const ParameterType& type, const Parameter& parameter) {
  if (type.kind == Kind::told_number) return "a number";
  if (type.kind == Kind::test) return "isPass and result";
  return parameter.binary ? "bytes in hex" : parameter.size != 0 ? "a text, or bytes in hex" : "a text";
}

void tell(const ParameterType& type, const Parameter& parameter, const Slot& slot, const Slot* length,
          CallAnswer* answer) {
  std::string text, json;
  if (type.kind == Kind::told_number) {
    text = json = type.lowest < 0 ? std::to_string(slot.word) : std::to_string(static_cast<unsigned>(slot.word));
  } else if (type.kind == Kind::test) {
    text = "isPass " + std::to_string(slot.test.isPass) + ", result " + std::to_string(slot.test.result);
    json = "{\"isPass\":" + std::to_string(slot.test.isPass) + ",\"result\":" + std::to_string(slot.test.result) + "}";
  } else {
    const std::string bytes = bytes_told(parameter, slot, length);
    text = parameter.binary ? "hex:" + to_hex(bytes) : shown(bytes);
    json = parameter.binary ? json_hex(bytes) : json_bytes(bytes);
  }
  while (!text.empty() && text.back() == '\n') text.pop_back();
  answer->text += parameter.text + (text.empty() ? "" : " ") + text + "\n";
  answer->json += (answer->json.empty() ? "" : ",") + json_bytes(parameter.text) + ":" + json;
}

}  // namespace atd
