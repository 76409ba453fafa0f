#include "client/exchange.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include <chrono>
#include <thread>

namespace atd::client {
namespace {

constexpr char kSocketOnPhone[] = "/dev/socket/atd";

std::string environment(const char* name) {
  const char* value = getenv(name);
  return value == nullptr ? "" : value;
}

std::string how_to_start(const std::string& socket) {
  std::string device = "DIR";
  if (socket.size() > strlen(kSocketOnPhone) && socket.ends_with(kSocketOnPhone)) {
    device = socket.substr(0, socket.size() - strlen(kSocketOnPhone));
  }
  return "; start one with: atd --device " + device;
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
  return root + kSocketOnPhone;
}

Failure connect(Connection& connection, const Target& target, Deadline deadline, bool patient) {
  constexpr auto kPause = std::chrono::milliseconds(20);
  for (;;) {
    int error = connection.open(target.socket, deadline);
    if (error == 0) return {};
    if (error == ETIMEDOUT) return timed_out(target, "no connection");
    if (!patient || std::chrono::steady_clock::now() + kPause > deadline) {
      return {kNoDaemon, "no daemon at " + target.socket + " (" + strerror(error) + ")" + how_to_start(target.socket)};
    }
    std::this_thread::sleep_for(kPause);
  }
}

Failure went_away(const Target& target) {
  return {kNoDaemon, "the daemon at " + target.socket + " went away" + how_to_start(target.socket)};
}

Failure timed_out(const Target& target, const std::string& what) {
  return {kTimedOut, what + " within " + in_words(target.timeout) + " from the daemon at " + target.socket};
}

Failure exchange(Connection& connection, const Target& target, const std::string& line, Deadline deadline,
                 const std::function<bool(const Message&)>& is_answer, Message* answer) {
  if (line.size() > kLineMax) {
    return {kUsage, "the line has " + std::to_string(line.size()) + " bytes, the daemon takes at most " +
                        std::to_string(kLineMax)};
  }
  ExchangeLock lock;
  if (!lock.take(target.socket, deadline)) return timed_out(target, "no turn beside other clients");
  // An answer says neither whose nor which: whatever still comes for an earlier line has to come before this one.
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

Failure ask(Connection& connection, const Target& target, int32_t opcode, const std::string& payload,
            Deadline deadline, Response* response) {
  Message answer;
  Failure failure = exchange(connection, target, request_line(opcode, payload), deadline,
                             [](const Message& message) { return message.code == kAnswerCode; }, &answer);
  std::string error;
  if (!failure && !decode_response(answer.text, response, &error)) failure = {kOther, "malformed answer: " + error};
  return failure;
}

}  // namespace atd::client
