#include "daemon/calls.h"

#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>

#include "daemon/calls/parameters.h"
#include "daemon/calls/text.h"
#include "desk/nearest.h"
#include "desk/words.h"

namespace atd {

namespace {

constexpr size_t kMeaningColumn = 16;
constexpr size_t kShownWord = 80;  // bytes of a word that an error repeats

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
  for (const Parameter& parameter : parameters_of(call)) {
    if (parameter.given || parameter.text == "-") continue;
    text += (first ? "" : ",") + json_bytes(parameter.text);
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
  for (const Parameter& parameter : parameters_of(call)) {
    if (parameter.given) text += (text.empty() ? "" : " ") + parameter.text;
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
  const std::vector<Parameter> parameters = parameters_of(*request.call);
  const auto count =
      std::count_if(parameters.begin(), parameters.end(), [](const Parameter& parameter) { return parameter.given; });
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
  for (const Parameter& parameter : parameters_of(call)) {
    const ParameterType& type = call.types[parameter.index];
    if (parameter.text != "-") line(parameter.text, parameter.given ? wanted(type, parameter) : told(type, parameter));
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
  const std::vector<Parameter> parameters = parameters_of(call);
  size_t word = 0;
  for (const Parameter& parameter : parameters) {
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
  for (const Parameter& parameter : parameters) {
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
