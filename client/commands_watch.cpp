#include <fmt/format.h>
#include <stdio.h>
#include <time.h>

#include <algorithm>
#include <chrono>

#include "client/arguments.h"
#include "client/commands.h"
#include "client/json.h"
#include "client/recording.h"
#include "client/stop_signals.h"

namespace atd::client {
namespace {

std::string message_line(const timespec& time, int sequence, const Message& message) {
  return fmt::format("{} {:5}  {:3} {:8}  {}\n", clock_time(time), sequence, message.code, code_name(message.code),
                     message_text(message));
}

// Whether the message is one of those to show. An answer does not say which opcode it is for.
bool is_wanted(const Message& message, const WatchArguments& arguments, const std::vector<int32_t>& opcodes) {
  const std::vector<int>& codes = arguments.codes;
  if (!codes.empty() && std::find(codes.begin(), codes.end(), message.code) == codes.end()) return false;
  if (opcodes.empty()) return true;
  Request request;
  return (message.code == kPlatformCode || message.code == kCopyCode) && decode_request(message.text, &request) &&
         std::find(opcodes.begin(), opcodes.end(), request.opcode) != opcodes.end();
}

// The end of a monitor whose time is over.
int time_is_over(int shown, const WatchArguments& arguments) {
  if (arguments.count == 0) return kOk;
  return complain({kTimedOut, fmt::format("{} of {} within {}", shown, arguments.count, in_words(arguments.seconds))});
}

}  // namespace

int ended_early(int seen, int count) {
  return count == 0 ? kOk : complain({kNoDaemon, fmt::format("the daemon stopped after {} of {}", seen, count)});
}

int run_monitor(const Target& target, const WatchArguments& arguments) {
  StopSignals signals(arguments.count == 0);
  Connection connection;
  Recorder recorder;
  Failure failure;
  std::vector<int32_t> opcodes;
  for (const std::string& opcode : arguments.opcodes) {
    if (!failure) failure = parse_opcode(opcode, &opcodes.emplace_back());
  }
  if (!failure && !arguments.record.empty()) failure = recorder.open(arguments.record);
  if (!failure) failure = connect(connection, target, in_seconds(target.timeout));
  if (failure) return complain(failure);
  const Deadline end = arguments.seconds < 0 ? Deadline::max() : in_seconds(arguments.seconds);
  bool stopped = false;
  int shown = 0;
  for (int sequence = 1; arguments.count == 0 || shown < arguments.count; ++sequence) {
    Message message;
    // A message that is there already is taken whatever the deadline is.
    if (std::chrono::steady_clock::now() >= end) return time_is_over(shown, arguments);
    Wait wait = connection.next(&message, end, signals.fd());
    if (wait == Wait::woken) return kOk;
    if (wait == Wait::timed_out) return time_is_over(shown, arguments);
    if (wait != Wait::message && (!stopped || connection.is_cut())) return complain(went_away(target));
    if (wait != Wait::message) return ended_early(shown, arguments.count);
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (!arguments.record.empty()) failure = recorder.write(now, message);
    const bool wanted = is_wanted(message, arguments, opcodes);
    shown += wanted;
    if (!failure && wanted && !arguments.quiet) {
      failure = print(arguments.json ? message_json(now, sequence, message) : message_line(now, sequence, message));
    }
    if (failure) return complain(failure);
    stopped = stopped || message.code == kStoppedCode;
  }
  return kOk;
}

int run_wait(const Target& target, bool json) {
  constexpr double kLong = 1;
  auto begin = std::chrono::steady_clock::now();
  Deadline deadline = in_seconds(target.timeout);
  for (;;) {
    Connection connection;
    Failure failure = connect(connection, target, deadline, true);
    if (failure) return complain({failure.status == kNoDaemon ? kTimedOut : failure.status, failure.text});
    Wait wait = connection.settle(deadline);
    if (wait == Wait::timed_out) return complain(timed_out(target, "no answer"));
    if (wait == Wait::message) break;
    // The daemon stopped after it had accepted this client: another one may start.
  }
  std::chrono::duration<double> waited = std::chrono::steady_clock::now() - begin;
  if (json) return complain(print(wait_json(waited.count())));
  if (waited.count() > kLong) fprintf(stderr, "atdctl: ready after %.1f s\n", waited.count());
  return kOk;
}

}  // namespace atd::client
