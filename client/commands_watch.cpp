#include <fmt/format.h>
#include <poll.h>
#include <stdio.h>
#include <time.h>

#include <algorithm>
#include <chrono>

#include "client/arguments.h"
#include "client/commands.h"
#include "client/identities.h"
#include "client/json.h"
#include "client/output.h"
#include "client/recording.h"
#include "client/stop_signals.h"

namespace atd::client {
namespace {

std::string message_line(const timespec& time, int sequence, const Message& message) {
  return fmt::format("{} {:5}  {:3} {:8}  {}\n", clock_time(time), sequence, message.code, code_name(message.code),
                     message_text(message));
}

// Whether the message is the copy of a request to the platform, which says nothing new.
bool is_request_copy(const Message& message) {
  Request request;
  return message.code == kCopyCode && decode_request(message.text, &request);
}

// Whether the message is one of those to show. An answer does not say which opcode it is for.
bool is_wanted(const Message& message, const MonitorArguments& arguments, const std::vector<int32_t>& opcodes) {
  const std::vector<int>& codes = arguments.codes;
  if (!codes.empty() && std::find(codes.begin(), codes.end(), message.code) == codes.end()) return false;
  if (codes.empty() && is_request_copy(message)) return false;
  if (opcodes.empty()) return true;
  Request request;
  return (message.code == kPlatformCode || message.code == kCopyCode) && decode_request(message.text, &request) &&
         std::find(opcodes.begin(), opcodes.end(), request.opcode) != opcodes.end();
}

class Monitor {
 public:
  Monitor(const Target& target, const MonitorArguments& arguments)
      : target_(target),
        arguments_(arguments),
        signals_(arguments.count == 0),
        identities_(phone_folder(target.socket, ""), arguments.plain) {}

  int run() {
    Failure failure;
    for (const std::string& opcode : arguments_.opcodes) {
      if (!failure) failure = parse_opcode(opcode, &opcodes_.emplace_back());
    }
    if (!failure && !arguments_.record.empty()) failure = recorder_.open(arguments_.record);
    if (arguments_.seconds >= 0) end_ = in_seconds(arguments_.seconds);
    if (!failure) failure = connect(connection_, target_, in_seconds(target_.timeout));
    if (arguments_.follow && failure.status == kNoDaemon) failure = {};
    while (!failure) {
      Wait wait = connection_.is_open() ? watch(&failure) : reconnect(&failure);
      if (failure) break;
      if (wait == Wait::woken || is_done()) return kOk;
      if (wait == Wait::timed_out) return time_is_over();
      if (wait == Wait::gone && arguments_.follow) {
        connection_.close();
      } else if (wait == Wait::gone) {
        if (!stopped_ || connection_.is_cut()) failure = went_away(target_);
        else return ended_early(shown_, arguments_.count);
      }
    }
    return failure.status == kStopped ? kOk : complain(failure);
  }

 private:
  bool is_done() const { return arguments_.count != 0 && shown_ >= arguments_.count; }

  int time_is_over() const {
    if (arguments_.count == 0) return kOk;
    return complain(
        {kTimedOut, fmt::format("{} of {} within {}", shown_, arguments_.count, in_words(arguments_.seconds))});
  }

  // Shows messages until the wait for one ends otherwise, or enough have come, or they cannot be shown.
  Wait watch(Failure* failure) {
    stopped_ = false;
    for (int sequence = 1; !*failure && !is_done(); ++sequence) {
      Message message;
      // A message that is there already is taken whatever the deadline is.
      if (std::chrono::steady_clock::now() >= end_) return Wait::timed_out;
      const Wait wait = connection_.next(&message, end_, signals_.fd());
      if (wait != Wait::message) return wait;
      stopped_ = stopped_ || message.code == kStoppedCode;
      *failure = take(sequence, message);
    }
    return Wait::message;
  }

  Failure take(int sequence, const Message& message) {
    const timespec now = wall_clock();
    const bool wanted = is_wanted(message, arguments_, opcodes_);
    shown_ += wanted;
    const bool prints = wanted && !arguments_.quiet;
    if (!prints && arguments_.record.empty()) return {};
    const Message masked = identities_.in_message(message);
    Failure failure;
    if (!arguments_.record.empty()) failure = recorder_.write(now, masked);
    if (failure || !prints) return failure;
    return print(arguments_.json ? message_json(now, sequence, masked) : message_line(now, sequence, masked),
                 signals_.fd());
  }

  // Waits until the daemon takes a connection: Wait::message.
  Wait reconnect(Failure* failure) {
    constexpr int kPauseMs = 50;
    *failure = tell("gone", "is not there; it is waited for");
    while (!*failure && !connection_.is_open()) {
      pollfd wake = {signals_.fd(), POLLIN, 0};
      if (poll(&wake, 1, kPauseMs) > 0) return Wait::woken;
      if (std::chrono::steady_clock::now() >= end_) return Wait::timed_out;
      const int error = connection_.open(target_.socket, std::min(end_, in_seconds(kPauseMs / 1000.0)));
      if (is_forbidden(error)) *failure = no_permission(target_.socket);
    }
    if (!*failure) *failure = tell("back", "is there");
    return Wait::message;
  }

  Failure tell(const char* event, const char* what) const {
    if (arguments_.json) return print(event_json(wall_clock(), event), signals_.fd());
    fprintf(stderr, "atdctl: the daemon at %s %s\n", visible(target_.socket).c_str(), what);
    return {};
  }

  const Target& target_;
  const MonitorArguments& arguments_;
  StopSignals signals_;
  Identities identities_;
  Connection connection_;
  Recorder recorder_;
  std::vector<int32_t> opcodes_;
  Deadline end_ = Deadline::max();
  bool stopped_ = false;  // the daemon has said that it stops
  int shown_ = 0;
};

}  // namespace

int ended_early(int seen, int count) {
  return count == 0 ? kOk : complain({kNoDaemon, fmt::format("the daemon stopped after {} of {}", seen, count)});
}

int run_monitor(const Target& target, const MonitorArguments& arguments) { return Monitor(target, arguments).run(); }

}  // namespace atd::client
