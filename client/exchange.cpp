#include "client/exchange.h"

#include <ctype.h>
#include <errno.h>
#include <fmt/format.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "client/output.h"
#include "client/peers.h"

namespace atd::client {
namespace {

constexpr std::string_view kSocketOnPhone = "/dev/socket/atd";

std::string environment(const char* name) {
  const char* value = getenv(name);
  return value == nullptr ? "" : value;
}

// The word as a shell takes it.
std::string in_shell(const std::string& word) {
  auto is_plain = [](unsigned char c) { return isalnum(c) != 0 || strchr("/._-+,:@%=", c) != nullptr; };
  if (std::all_of(word.begin(), word.end(), is_plain)) return word;
  std::string quoted = "'";
  for (char c : word) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

}  // namespace

std::string socket_path(const std::string& socket, const std::string& device) {
  std::string root = device;
  if (!socket.empty()) return socket;
  if (root.empty()) {
    std::string from_environment = environment("ATD_SOCKET");
    if (!from_environment.empty()) return from_environment;
    root = environment("ATD_DEVICE");
  }
  while (root.ends_with('/')) root.pop_back();
  return root.append(kSocketOnPhone);
}

std::optional<std::string> phone_root(const std::string& socket) {
  if (!socket.ends_with(kSocketOnPhone)) return {};
  return socket.substr(0, socket.size() - kSocketOnPhone.size());
}

std::string phone_folder(const std::string& socket, const std::string& device) {
  const std::string folder = phone_root(socket_path(socket, device)).value_or("");
  return folder.empty() && socket.empty() ? environment("ATD_DEVICE") : folder;
}

std::string how_to_start(const std::string& folder) {
  if (folder.empty()) {
    return "start the daemon on the phone: start atd; or a simulated phone: atd --device DIR --background";
  }
  return fmt::format("start it with: atd --device {} --background", in_shell(folder));
}

Failure connect(Connection& connection, const Target& target, Deadline deadline, bool patient) {
  constexpr auto kPause = std::chrono::milliseconds(20);
  for (;;) {
    int error = connection.open(target.socket, deadline);
    if (error == 0) return {};
    if (error == ETIMEDOUT) return timed_out(target, "no connection");
    if (!patient || std::chrono::steady_clock::now() + kPause > deadline) {
      if (is_forbidden(error)) return no_permission(target.socket);
      return {kNoDaemon, fmt::format("no daemon at {} ({}); {}", target.socket, strerror(error),
                                     how_to_start(phone_root(target.socket).value_or("")))};
    }
    std::this_thread::sleep_for(kPause);
  }
}

Failure no_permission(const std::string& socket) {
  return {kNoPermission, "permission denied at " + socket + "; run atdctl as the user who runs the daemon"};
}

Failure went_away(const Target& target) {
  const std::string folder = phone_root(target.socket).value_or("");
  return {kNoDaemon, "the daemon at " + target.socket + " went away; " + how_to_start(folder)};
}

Failure timed_out(const Target& target, const std::string& what) {
  return {kTimedOut, fmt::format("{} within {} from the daemon at {}; --timeout SECONDS waits longer", what,
                                 in_words(target.timeout), target.socket)};
}

Failure check_length(const std::string& line) {
  if (line.size() <= kLineMax) return {};
  return {kUsage, fmt::format("the line has {} bytes; the daemon takes at most {}", line.size(), kLineMax)};
}

Failure exchange(Connection& connection, const Target& target, const std::string& line, Deadline deadline,
                 const std::function<bool(const Message&)>& is_answer, Message* answer) {
  if (Failure too_long = check_length(line)) return too_long;
  ExchangeLock lock;
  if (!lock.take(target.socket, deadline)) return timed_out(target, "no turn among the other clients");
  // An answer does not say which line it is for: those for earlier lines have to come before this one is sent.
  switch (connection.settle(deadline)) {
    case Wait::message: break;
    case Wait::timed_out: return timed_out(target, "nothing sent: no sign of life");
    default: return went_away(target);
  }
  int error = connection.send(line, deadline);
  if (error != 0) return error == ETIMEDOUT ? timed_out(target, "no room for the line") : went_away(target);
  for (;;) {
    Wait wait = connection.next(answer, deadline);
    if (wait == Wait::timed_out) return timed_out(target, "no answer");
    if (wait != Wait::message) return went_away(target);
    if (is_answer(*answer)) return {};
    if (answer->code == kRefusedCode) return {kOther, "the daemon refused the line: " + visible(answer->text)};
  }
}

Wait await_platform(Connection& connection, const Target& target, Deadline deadline) {
  constexpr double kBetween = 0.1;
  for (Message message; other_clients(target.socket) <= 0;) {
    const Wait wait = connection.next(&message, std::min(deadline, in_seconds(kBetween)));
    const bool is_sign = message.code == kReadyCode || message.code == kTakenCode;
    if (wait == Wait::message && is_sign) return wait;
    if (wait == Wait::timed_out ? std::chrono::steady_clock::now() >= deadline : wait != Wait::message) return wait;
  }
  return Wait::message;
}

Failure ask(Connection& connection, const Target& target, int32_t opcode, const std::string& payload, Deadline deadline,
            Response* response) {
  Message answer;
  Failure failure = exchange(
      connection, target, request_line(opcode, payload), deadline,
      [](const Message& message) { return message.code == kAnswerCode; }, &answer);
  std::string error;
  if (!failure && !decode_response(answer.text, response, &error))
    failure = {kOther, "malformed answer: " + error + "; atdctl raw shows it as it is"};
  return failure;
}

}  // namespace atd::client
