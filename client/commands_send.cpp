#include <errno.h>
#include <fmt/format.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "client/commands.h"
#include "client/input.h"
#include "client/json.h"
#include "client/output.h"
#include "client/peers.h"

namespace atd::client {
namespace {

// The text from the first character on that the daemon does not skip.
std::string as_sent_on(const std::string& text) {
  auto is_sent = [](unsigned char c) { return c > 32 && c < 128; };
  return std::string(std::find_if(text.begin(), text.end(), is_sent), text.end());
}

// Sends the line and prints its answer. What is for a `platform` fails where nobody else is connected.
int run_line(const Target& target, const std::string& line, bool json, bool platform,
             const std::function<bool(const Message&)>& is_answer) {
  Connection connection;
  Message answer;
  Deadline deadline = in_seconds(target.timeout);
  Failure failure = connect(connection, target, deadline);
  if (!failure) failure = exchange(connection, target, line, deadline, is_answer, &answer);
  const timespec now = wall_clock();
  if (!failure && platform && other_clients(target.socket) == 0) {
    failure = {kTimedOut, fmt::format("it is sent on, but nobody else is connected to the daemon at {}, so no platform "
                                      "serves; atdctl serve stands in for one",
                                      target.socket)};
  }
  if (failure) return complain(failure);
  return complain(print(json ? reply_json(now, answer) : visible(answer.bytes) + "\n"));
}

class RawConversation {
 public:
  RawConversation(const Target& target, bool hexdump, double silence_ms)
      : target_(target), hexdump_(hexdump), silence_(silence_ms / 1000) {}

  int run() {
    Failure failure = connect(connection_, target_, in_seconds(target_.timeout));
    if (failure) return complain(failure);
    int status = kOk;
    InputLines input(STDIN_FILENO);
    std::string line;
    for (;;) {
      while (!input.is_ready()) {
        Message message;
        Wait wait = connection_.next(&message, Deadline::max(), STDIN_FILENO);
        if (wait == Wait::gone) return worse(status, complain(went_away(target_)));
        if (wait == Wait::woken) input.fill();
        else if (Failure lost = show('<', message.bytes)) return complain(lost);
      }
      if (!input.take(&line)) break;
      failure = say(line);
      if (failure) status = worse(status, complain(failure));
      if (failure.status == kNoDaemon || failure.status == kNoOutput) return status;
    }
    return input.error() == 0 ? status : worse(status, complain(file_failure("-", input.error())));
  }

 private:
  Failure show(char direction, const std::string& bytes) {
    std::string text = std::string(1, direction) + " " + visible(bytes) + "\n";
    if (hexdump_) text += client::hexdump(std::string(bytes.c_str(), bytes.size() + 1));
    return print(text);
  }

  // Sends a line and shows what comes, until no more is expected.
  Failure say(const std::string& line) {
    if (Failure too_long = check_length(line)) return too_long;
    Deadline deadline = in_seconds(target_.timeout);
    ExchangeLock lock;
    if (!lock.take(target_.socket, deadline)) return timed_out(target_, "no turn among the other clients");
    if (Failure lost = show('>', line)) return lost;
    if (int error = connection_.send(line, deadline)) {
      return error == ETIMEDOUT ? timed_out(target_, "no room for the line") : went_away(target_);
    }
    bool is_request = line.starts_with(std::string(kRequestWord) + " ");
    Message message;
    for (;;) {
      Deadline limit = is_request ? deadline : std::min(deadline, in_seconds(silence_));
      Wait wait = connection_.next(&message, limit);
      if (wait == Wait::gone) return went_away(target_);
      if (wait == Wait::timed_out && !is_request) return {};
      if (wait == Wait::timed_out) return timed_out(target_, "no answer");
      if (Failure lost = show('<', message.bytes)) return lost;
      if (message.code == kRefusedCode || (is_request && message.code == kAnswerCode)) return {};
    }
  }

  const Target& target_;
  bool hexdump_;
  double silence_;  // seconds
  Connection connection_;
};

}  // namespace

int run_send(const Target& target, const std::string& text, bool json) {
  std::string sent_on = as_sent_on(text);
  if (sent_on.empty()) {
    return complain({kUsage, "nothing to send: an AT command has a character above 32 and below 128, such as AT+CSQ"});
  }
  return run_line(target, send_line(text), json, true,
                  [&](const Message& message) { return message.code == kPlatformCode && message.text == sent_on; });
}

int run_initialize(const Target& target, bool json) {
  return run_line(target, initialize_line(), json, false,
                  [](const Message& message) { return message.code == kReadyCode; });
}

int run_wait(const Target& target, bool platform, bool json) {
  constexpr double kLong = 1;
  auto begin = std::chrono::steady_clock::now();
  Deadline deadline = in_seconds(target.timeout);
  for (;;) {
    Connection connection;
    Failure failure = connect(connection, target, deadline, true);
    if (failure) return complain({failure.status == kNoDaemon ? kTimedOut : failure.status, failure.text});
    Wait wait = connection.settle(deadline);
    if (wait == Wait::timed_out) return complain(timed_out(target, "no answer"));
    if (wait == Wait::message && platform) wait = await_platform(connection, target, deadline);
    if (wait == Wait::timed_out) return complain(timed_out(target, "no sign of a platform"));
    if (wait == Wait::message) break;
    // The daemon stopped after it had accepted this client: another one may start.
    if (!pause_before(deadline)) return complain(timed_out(target, "no answer"));
  }
  std::chrono::duration<double> waited = std::chrono::steady_clock::now() - begin;
  if (json) return complain(print(wait_json(waited.count())));
  if (waited.count() > kLong) fprintf(stderr, "atdctl: ready after %.1f s\n", waited.count());
  return kOk;
}

int run_raw(const Target& target, bool hexdump, double silence_ms) {
  return RawConversation(target, hexdump, silence_ms).run();
}

}  // namespace atd::client
