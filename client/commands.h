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

// The table as text: for a terminal of so many columns, or with 0 for a file or a pipe, a line an opcode.
std::string ops_text(size_t columns, bool colourful);

struct RequestArguments {
  std::string opcode;
  std::string text;
  std::string hex;
  std::string file;
  bool has_text = false, has_hex = false, has_file = false, read = false;  // at most one of them
  bool json = false;
  bool value = false;  // print the answer's value alone
  std::string output;  // the file that gets the answer's bytes, "" for none
};

// One request and its answer; the status is that of the result. What asks for the value or for a file gets nothing
// where the result is not 0, and a complaint says why.
int run_request(const Target& target, const RequestArguments& arguments);

struct BatchArguments {
  std::string file = "-";      // of the requests, "-" for standard input
  std::string junit, csv;      // files for reports, "" for none
  bool stop_on_error = false;  // after the first request whose status is not 0
  bool dry_run = false;        // print the requests, send none
  bool json = false;
};

// Sends each line of the file as a request, all on one connection; the worst status of all. When a line is wrong,
// none is sent.
int run_batch(const Target& target, const BatchArguments& arguments);

// Sends an AT command to the platform and waits for the broadcast that carries it; kTimedOut, at once, where nobody
// else is connected to hear it.
int run_send(const Target& target, const std::string& text, bool json);

// Sends the platform's "initialize" and waits for the broadcast that the daemon is ready.
int run_initialize(const Target& target, bool json);

// Sends lines of standard input as they are, and prints every message. It waits for the answer to a request; after any
// other line it goes on when no message has come for `silence_ms`.
int run_raw(const Target& target, bool hexdump, double silence_ms);

struct MonitorArguments {
  bool json = false;
  bool plain = false;                // show identities in full
  bool quiet = false;                // print nothing
  bool follow = false;               // connect again when the daemon has gone
  int count = 0;                     // end after so many messages, 0 for no limit
  double seconds = -1;               // end after so long, below 0 for no limit
  std::vector<int> codes;            // the codes to show, none for all
  std::vector<std::string> opcodes;  // the opcodes of the requests to show, none for all messages
  std::string record;                // the file that messages are appended to, "" for none
};

// The status of a command that ends because the daemon stopped, which it complains about if a `count` was asked for.
int ended_early(int seen, int count);

// Prints the messages that are to be shown as they come, until `count` of them have come, the time is over, the daemon
// has stopped, or SIGINT or SIGTERM comes. With a `count` such a signal ends the program, a daemon that stops before is
// kNoDaemon, and the end of the time kTimedOut. The copy of a request is shown only where its code is asked for. With
// `follow` a daemon that goes, or is not there yet, is waited for. A recording gets every message, shown or not.
int run_monitor(const Target& target, const MonitorArguments& arguments);

struct ServeArguments {
  bool json = false;
  bool plain = false;   // show identities in full
  int count = 0;        // end after so many commands and requests, 0 for no limit
  std::string answers;  // the file of answers, "" for none
};

// Stands in for the platform: prints every AT command and every request that the daemon sends to it, and answers the
// requests from the file or else with result 0. Ends as run_monitor() does.
int run_serve(const Target& target, const ServeArguments& arguments);

struct ReplayArguments {
  std::string file;  // the recording, "-" for standard input
  std::vector<std::string> masks;
  bool realtime = false;  // with the recording's pauses
  bool plain = false;     // show identities in full
  bool json = false;
};

// Sends the daemon what the clients of a recording sent, and compares the answers. Returns kOk, kFailed at the first
// difference, kTimedOut when that is a message that does not come, or kUsage when bytes are missing in the recording.
int run_replay(const Target& target, const ReplayArguments& arguments);

// Waits until the daemon answers, or with `platform` until await_platform() is done.
int run_wait(const Target& target, bool platform, bool json);

// Checks what the daemon needs, and prints what it found; kFailed when a check failed. It changes nothing.
int run_doctor(const Target& target, bool json);

struct PhoneArguments {
  std::string folder;              // of the phone, "" for none
  std::vector<std::string> words;  // of the verb and its arguments
  bool json = false;
  bool plain = false;    // show identities in full
  double timeout = 0;    // seconds, for the connection, the request, and the end of the daemon after "stop"
  bool bounded = false;  // for each reply too
};

// Has the simulated phone run a verb, and prints its output as it comes; in JSON also that it is done, where it has no
// output. Returns the verb's own status; kOk when SIGINT or SIGTERM ends one that has no end of its own.
int run_phone(const PhoneArguments& arguments);

// Prints the help of the verbs that begin with the words, at least one.
int run_phone_help(const std::vector<std::string>& words);

// Every verb, for the help of the command line.
std::string phone_help();

// The bash completion, the fuzzer's dictionary and the manual page. They are made from the command line, the opcode
// table and the phone's verbs.
int run_completion(const CLI::App& app);
int run_dictionary();
int run_manual(const CLI::App& app);

}  // namespace atd::client
