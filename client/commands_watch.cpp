#include <fmt/format.h>
#include <stdio.h>
#include <time.h>

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

}  // namespace

int ended_early(int seen, int count) {
  return count == 0 ? kOk : complain({kNoDaemon, fmt::format("the daemon stopped after {} of {}", seen, count)});
}

int run_monitor(const Target& target, const WatchArguments& arguments) {
  StopSignals signals(arguments.count == 0);
  Connection connection;
  Recorder recorder;
  Failure failure;
  if (!arguments.record.empty()) failure = recorder.open(arguments.record);
  if (!failure) failure = connect(connection, target, in_seconds(target.timeout));
  if (failure) return complain(failure);
  bool stopped = false;
  for (int sequence = 1; arguments.count == 0 || sequence <= arguments.count; ++sequence) {
    Message message;
    Wait wait = connection.next(&message, Deadline::max(), signals.fd());
    if (wait == Wait::woken) return kOk;
    if (wait != Wait::message && (!stopped || connection.is_cut())) return complain(went_away(target));
    if (wait != Wait::message) return ended_early(sequence - 1, arguments.count);
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (!arguments.record.empty()) failure = recorder.write(now, message);
    if (!failure && !arguments.quiet) {
      failure = print(arguments.json ? message_json(now, sequence, message) : message_line(now, sequence, message));
    }
    if (failure) return complain(failure);
    stopped = stopped || message.code == kStoppedCode;
  }
  return kOk;
}

int run_wait(const Target& target) {
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
  if (waited.count() > kLong) fprintf(stderr, "atdctl: ready after %.1f s\n", waited.count());
  return kOk;
}

}  // namespace atd::client
