// The commands of atdctl. Each prints its answer on standard output and its complaint on standard error, and returns
// the exit status.
#pragma once

#include <string>
#include <vector>

#include "client/exchange.h"

namespace CLI {
class App;
}

namespace atd::client {

// The opcode table.
int run_ops(bool json);

struct RequestArguments {
  std::string opcode;
  std::string text;
  std::string hex;
  std::string file;
  bool has_text = false, has_hex = false, has_file = false;  // at most one of them
  bool json = false;
};

// One request and its answer; the status is that of the result.
int run_request(const Target& target, const RequestArguments& arguments);

// A request a line of `file`, "-" for standard input, on one connection; the gravest status of all.
int run_batch(const Target& target, const std::string& file, bool json);

// An AT command for the platform, confirmed by the broadcast that carries it.
int run_send(const Target& target, const std::string& text);

// The platform's "initialize", confirmed by the broadcast that the daemon is ready.
int run_initialize(const Target& target);

// Lines of standard input as they are, and every message; other lines than requests end after `quiet_ms` without one.
int run_raw(const Target& target, bool hexdump, double quiet_ms);

struct WatchArguments {
  bool json = false;
  bool quiet = false;   // monitor: print nothing
  int count = 0;        // end after so many, 0 for no limit
  std::string record;   // monitor: the file that messages are appended to, "" for none
  std::string answers;  // serve: the file of answers, "" for none
};

// Every message as it comes, until `count` have come, the daemon has stopped, or SIGINT or SIGTERM.
int run_monitor(const Target& target, const WatchArguments& arguments);

// Stands in for the platform: prints every AT command and every request that the daemon sends to it, and answers the
// requests from the file or else with result 0. Ends as run_monitor() does.
int run_serve(const Target& target, const WatchArguments& arguments);

struct ReplayArguments {
  std::string file;  // the recording, "-" for standard input
  std::vector<std::string> masks;
  bool realtime = false;  // with the recording's pauses
};

// Says to the daemon what the clients of a recording said, and compares what it answers: kOk, kFailed at the first
// difference, kTimedOut when that is a message that does not come.
int run_replay(const Target& target, const ReplayArguments& arguments);

// Waits until the daemon answers.
int run_wait(const Target& target);

// The bash completion, the fuzzer's dictionary and the manual page, from the command line and the opcode table.
int run_completion(const CLI::App& app);
int run_dictionary();
int run_manual(const CLI::App& app);

}  // namespace atd::client
