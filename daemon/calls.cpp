#include "daemon/calls.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>

#include "daemon/calls/row.h"
#include "daemon/calls/text.h"
#include "desk/nearest.h"
#include "desk/words.h"

namespace atd {

namespace {

constexpr size_t kMeaningColumn = 16;
constexpr size_t kShownWord = 80;  // bytes of a word that an error repeats

// A parameter as its row names it.
struct Name {
  std::string text;
  size_t index = 0;      // among the function's parameters
  bool given = false;    // by the caller
  bool counted = false;  // the next parameter is its length
  bool binary = false;   // shown in hex, and given whole
  size_t size = 0;       // 0 for none
};

std::vector<Name> names_of(const Call& call) {
  std::vector<Name> names;
  const std::string arguments = call.arguments;
  for (size_t at = 0, index = 0; at < arguments.size();) {
    const size_t end = std::min(arguments.find(' ', at), arguments.size());
    const std::string word = arguments.substr(at, end - at);
    Name name;
    name.text = word.substr(0, word.find_first_of(":*#"));
    name.given = word[0] >= 'A' && word[0] <= 'Z';
    name.counted = word.back() == '#';
    name.binary = word.find('*') != word.npos;
    if (word.size() > name.text.size() + 1) name.size = strtoul(word.c_str() + name.text.size() + 1, nullptr, 10);
    name.index = index;
    index += name.counted ? 2 : 1;
    names.push_back(name);
    at = end + 1;
  }
  return names;
}

bool is_failure(Success success, long long result) {
  switch (success) {
    case Success::zero: return result != 0;
    case Success::one: return result != 1;
    case Success::value: return result < 0;
    case Success::size: return result == 0;
    case Success::any: return false;
  }
  return false;
}

const char* to_text(Success success) {
  switch (success) {
    case Success::zero: return "0 is success";
    case Success::one: return "1 is success";
    case Success::value: return "a value, negative for a failure";
    case Success::size: return "a size, 0 for a failure";
    case Success::any: return "a value, never a failure";
  }
  return "";
}

std::string range(const ParameterType& type) {
  return "number from " + std::to_string(type.lowest) + " to " + std::to_string(type.highest) + ", or 0x and hex";
}

// Each takes a word of the caller's and returns "" or what is wrong with it.
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

std::string take_bytes(const std::string& word, const Name& name, Slot* slot) {
  slot->bytes = word;
  if (word.compare(0, 5, "text:") == 0) slot->bytes = word.substr(5);
  if (word.compare(0, 4, "hex:") == 0 && !from_hex(word.substr(4), &slot->bytes)) return "is no pairs of hex digits";
  const size_t got = slot->bytes.size();
  if (name.size == 0 && name.counted) return "";
  // A function may tell a whole text again, with its NUL.
  const size_t most = name.size != 0 ? name.size : kToldSize - 1;
  const std::string room = std::to_string(most) + (most == 1 ? " byte" : " bytes");
  if (name.binary && got != most) return "has " + std::to_string(got) + " bytes; write " + room + " as hex:00ff";
  if (got > most) return "has " + std::to_string(got) + " bytes; there is room for " + room;
  if (name.size != 0) slot->bytes.resize(name.size);
  else if (slot->bytes.find('\0') != std::string::npos) return "is a text with a NUL in it";
  return "";
}

std::string take(const std::string& word, const ParameterType& type, const Name& name, Slot* slot) {
  if (type.kind == Kind::number) return take_number(word, type, slot);
  if (type.kind == Kind::text) return take_bytes(word, name, slot);
  slot->bytes = word;
  return word.size() == 1 ? "" : "is not one character";
}

std::string wanted(const ParameterType& type, const Name& name) {
  if (type.kind == Kind::number) return "a " + range(type);
  if (type.kind == Kind::character) return "one character";
  if (name.binary) return std::to_string(name.size) + " bytes, as hex:00ff or text:...";
  if (name.size != 0) return "at most " + std::to_string(name.size) + " bytes: a text, hex:00ff or text:...";
  return name.counted ? "bytes: a text, hex:00ff or text:..." : "a text";
}

std::string told(const ParameterType& type, const Name& name) {
  if (type.kind == Kind::told_number) return "a number";
  if (type.kind == Kind::test) return "isPass and result";
  return name.binary ? "bytes in hex" : name.size != 0 ? "a text, or bytes in hex" : "a text";
}

// What the function has put there, for its caller.
std::string bytes_told(const Name& name, const Slot& slot, const Slot* length) {
  if (length) {
    return slot.bytes.substr(0, static_cast<size_t>(std::max(0, std::min(length->word, static_cast<int>(name.size)))));
  }
  if (name.size == 0) return slot.bytes.c_str();
  return slot.bytes.substr(0, name.binary ? name.size : slot.bytes.find_last_not_of('\0') + 1);
}

void tell(const ParameterType& type, const Name& name, const Slot& slot, const Slot* length, CallAnswer* answer) {
  std::string text, json;
  if (type.kind == Kind::told_number) {
    text = json = type.lowest < 0 ? std::to_string(slot.word) : std::to_string(static_cast<unsigned>(slot.word));
  } else if (type.kind == Kind::test) {
    text = "isPass " + std::to_string(slot.test.isPass) + ", result " + std::to_string(slot.test.result);
    json = "{\"isPass\":" + std::to_string(slot.test.isPass) + ",\"result\":" + std::to_string(slot.test.result) + "}";
  } else {
    const std::string bytes = bytes_told(name, slot, length);
    text = name.binary ? "hex:" + to_hex(bytes) : shown(bytes);
    json = name.binary ? json_hex(bytes) : json_bytes(bytes);
  }
  while (!text.empty() && text.back() == '\n') text.pop_back();
  answer->text += name.text + (text.empty() ? "" : " ") + text + "\n";
  answer->json += (answer->json.empty() ? "" : ",") + json_bytes(name.text) + ":" + json;
}

CallAnswer refuse(const Call* call, const std::string& error) {
  CallAnswer answer;
  answer.status = 64;
  answer.error = error;
  answer.json = std::string("{") + (call ? "\"name\":" + json_bytes(call->name) + "," : "") +
                "\"status\":64,\"error\":" + json_bytes(error) + "}\n";
  return answer;
}

std::string unknown(const std::string& name) {
  for (const LeftOut& left : functions_left_out()) {
    const std::string function = left.function;
    const std::string plain = function.substr(0, function.find('('));
    const size_t scope = plain.find("::");
    if (plain == name || (scope != plain.npos && plain.substr(scope + 2) == name)) {
      return name + " is not called by name: " + left.reason;
    }
  }
  std::vector<std::string> names;
  for (const Call& call : calls()) names.push_back(call.name);
  return "no function is named \"" + shown(name) + "\"; nearest: " + listed(nearest(name, names, 3)) +
         "; \"call\" shows all";
}

std::string row_json(const Call& call) {
  std::string text =
      "{\"name\":" + json_bytes(call.name) + ",\"arguments\":" + json_bytes(given_names(call)) + ",\"told\":[";
  bool first = true;
  for (const Name& name : names_of(call)) {
    if (name.given || name.text == "-") continue;
    text += (first ? "" : ",") + json_bytes(name.text);
    first = false;
  }
  return text + "],\"success\":" + (call.has_result ? json_bytes(to_text(call.success)) : "null") +
         ",\"destructive\":" + (call.effects & kDestroys ? "true" : "false") +
         ",\"platform\":" + (call.effects & kAsksPlatform ? "true" : "false") +
         ",\"in_daemon\":" + (call.effects & kInDaemon ? "true" : "false") +
         ",\"summary\":" + json_bytes(call.summary) + "}";
}

CallAnswer list_all() {
  CallAnswer answer;
  for (const Call& call : calls()) {
    const std::string given = given_names(call);
    const std::string usage = call.name + (given.empty() ? "" : " " + given);
    answer.text += in_columns((call.effects & kDestroys ? "!" : " ") + usage, kHelpColumn, call.summary);
    answer.json += (answer.json.empty() ? "[" : ",") + row_json(call);
  }
  answer.text += "! destroys data or ends the phone's run, and needs --yes.\n";
  answer.json += "]\n";
  return answer;
}

}  // namespace

const std::vector<Call>& calls() {
  static const std::vector<Call> all = [] {
    std::vector<Call> rows;
    const auto add = [&](const std::vector<Row>& room, bool takes_turns) {
      for (const Row& row : room)
        rows.push_back(row), rows.back().takes_turns = takes_turns || (row.effects & kTakesTurn);
    };
    add(channel_calls(), false);
    add(factory_calls(), false);
    add(storage_calls(), true);
    add(system_calls(), false);
    add(bluetooth_calls(), true);
    add(devicetest_calls(), true);
    add(logs_calls(), true);
    add(reset_calls(), false);
    return rows;
  }();
  return all;
}

std::string given_names(const Call& call) {
  std::string text;
  for (const Name& name : names_of(call)) {
    if (name.given) text += (text.empty() ? "" : " ") + name.text;
  }
  return text;
}

CallRequest read_call(const std::vector<std::string>& words) {
  CallRequest request;
  std::vector<std::string> rest;
  bool options = true;
  for (const std::string& word : words) {
    if (options && word == "--") options = false;
    else if (options && word == "--yes") request.yes = true;
    else if (options && (word == "--help" || word == "-h")) request.help = true;
    else rest.push_back(word);
  }
  if (rest.empty()) return request;
  for (const Call& call : calls()) {
    if (call.name == rest[0]) request.call = &call;
  }
  if (!request.call) {
    request.error = unknown(rest[0]);
    return request;
  }
  request.arguments.assign(rest.begin() + 1, rest.end());
  const std::vector<Name> names = names_of(*request.call);
  const auto count = std::count_if(names.begin(), names.end(), [](const Name& name) { return name.given; });
  if (!request.help && request.arguments.size() != static_cast<size_t>(count)) {
    const std::string given = given_names(*request.call);
    request.error = std::string("write: call ") + request.call->name + (given.empty() ? "" : " ") + given;
  }
  return request;
}

CallAnswer explain(const CallRequest& request) {
  if (!request.error.empty()) return refuse(request.call, request.error);
  if (!request.call) return list_all();
  const Call& call = *request.call;
  CallAnswer answer;
  const std::string given = given_names(call);
  answer.text = std::string("Usage: call ") + call.name + (given.empty() ? "" : " ") + given +
                (call.effects & kDestroys ? " --yes" : "") + "\n" + wrapped(call.summary, 0, kColumns) + "\n";
  const auto line = [&](const std::string& name, const std::string& what) {
    answer.text += in_columns("  " + name, kMeaningColumn, what);
  };
  for (const Name& name : names_of(call)) {
    const ParameterType& type = call.types[name.index];
    if (name.text != "-") line(name.text, name.given ? wanted(type, name) : told(type, name));
  }
  if (call.has_result) line("result", to_text(call.success));
  if (call.effects & kDestroys) answer.text += "It destroys data or ends the phone's run.\n";
  if (call.effects & kAsksPlatform) answer.text += "It asks the platform, which has to answer.\n";
  if (call.effects & kInDaemon) answer.text += "It works in the daemon's process alone; \"atd call\" refuses it.\n";
  answer.json = row_json(call) + "\n";
  return answer;
}

CallAnswer run(const CallRequest& request, const CallHost& host) {
  if (!request.error.empty() || !request.call || request.help) return explain(request);
  const Call& call = *request.call;
  const std::string name = call.name;
  if ((call.effects & kDestroys) && !request.yes) {
    return refuse(&call, name + " destroys data or ends the phone's run; if that is meant, add --yes");
  }
  if ((call.effects & kInDaemon) && !host.is_daemon) {
    return refuse(&call, name + " works in the daemon's process alone, and this is another one");
  }
  std::vector<Slot> slots(call.count + 1);
  const std::vector<Name> names = names_of(call);
  size_t word = 0;
  for (const Name& parameter : names) {
    Slot& slot = slots[parameter.index];
    const ParameterType& type = call.types[parameter.index];
    if (!parameter.given) {
      if (type.kind == Kind::text) slot.bytes.resize(std::max(kToldSize, parameter.size + 1));
    } else {
      const std::string& text = request.arguments[word++];
      const std::string wrong = take(text, type, parameter, &slot);
      if (!wrong.empty()) {
        const std::string quoted = text.size() > kShownWord ? "" : ": \"" + shown(text) + "\"";
        return refuse(&call, parameter.text + quoted + " " + wrong);
      }
      if (parameter.counted) {
        slots[parameter.index + 1].number = static_cast<long long>(slot.bytes.size());
        if (slots[parameter.index + 1].number > call.types[parameter.index + 1].highest)
          return refuse(&call, parameter.text + ": too many bytes");
      }
    }
  }
  static std::mutex turns;
  std::unique_lock<std::mutex> turn(turns, std::defer_lock);
  if (call.takes_turns) turn.lock();
  if (host.ends && host.ends()) return refuse(&call, "the phone is going away; " + name + " was not called");
  if (host.open) host.open();
  CallAnswer answer;
  const long long result = call.invoke(call.function, slots.data());
  for (const Name& parameter : names) {
    if (parameter.given || parameter.text == "-") continue;
    const Slot* slot = &slots[parameter.index];
    tell(call.types[parameter.index], parameter, *slot, parameter.counted ? slot + 1 : nullptr, &answer);
  }
  if (call.has_result && is_failure(call.success, result)) {
    answer.status = 1;
    const bool is_outside = (call.effects & kAsksPlatform) && !host.is_daemon;
    answer.error = name + " says no (" + std::to_string(result) + "); " +
                   (is_outside ? "what asks the platform fails outside the daemon's own process; " : "") +
                   "the log may say why: " + host.log;
  }
  answer.text += call.has_result ? "result " + std::to_string(result) + "\n" : "done\n";
  std::string given;
  for (const std::string& text : request.arguments) given += (given.empty() ? "" : ",") + json_bytes(text);
  answer.json = "{\"name\":" + json_bytes(name) + ",\"arguments\":[" + given +
                "],\"result\":" + (call.has_result ? std::to_string(result) : "null") + ",\"out\":{" + answer.json +
                "},\"status\":" + std::to_string(answer.status) +
                ",\"error\":" + (answer.status ? json_bytes(answer.error) : "null") + "}\n";
  return answer;
}

bool confirm(CallRequest* request) {
  if (!request->call || !(request->call->effects & kDestroys) || request->yes || request->help) return true;
  if (!request->error.empty() || !isatty(STDIN_FILENO) || !isatty(STDERR_FILENO)) return true;
  fprintf(stderr, "%s destroys data or ends the phone's run; go on? [y/N] ", request->call->name);
  char line[8] = "";
  request->yes = fgets(line, sizeof line, stdin) && (line[0] == 'y' || line[0] == 'Y');
  if (!request->yes) request->error = "not done: it was not confirmed";
  return request->yes;
}

}  // namespace atd
