// The library's functions by name: one table, from which a person's calls, their help, the completion and the manual
// page are made. It runs on a phone (atd call) and for the simulated phone (atdctl phone call).
#pragma once

#include <string>
#include <vector>

namespace atd {

// What a function's result says.
enum class Success {
  zero,   // 0 is success
  one,    // 1 is success
  value,  // a value, negative for a failure
  size,   // a size, 0 for a failure
  any,    // a value, never a failure
};

enum CallEffect {
  kDestroys = 1,      // erases or changes what cannot be brought back, or ends the phone's run; needs --yes
  kAsksPlatform = 2,  // fails where the platform does not answer
  kInDaemon = 4,      // needs the daemon's memory, or sends the platform what another process cannot deliver
  kTakesTurn = 8,     // uses what the calls of other rooms use on one thread at a time
};

struct Slot;           // daemon/calls/row.h
struct ParameterType;  // the same

// A function that can be called.
struct Call {
  const char* name;
  const char* arguments;  // a name for each parameter, as daemon/calls/row.h says
  Success success;
  const char* summary;
  int effects;       // of CallEffect
  bool takes_turns;  // its room's functions run on one thread at a time, or it has kTakesTurn
  bool has_result;
  const ParameterType* types;  // of the parameters
  size_t count;
  void (*function)();
  long long (*invoke)(void (*function)(), Slot* slots);
};

// All of them, room by room.
const std::vector<Call>& calls();

// A function that the library exports and the table has not, as the export map writes it.
struct LeftOut {
  const char* function;
  const char* reason;
};
const std::vector<LeftOut>& functions_left_out();

// What a caller gives to a function: "NUMBER TEXT".
std::string given_names(const Call& call);

// What a person has asked for.
struct CallRequest {
  const Call* call = nullptr;  // null: all are to be shown
  std::vector<std::string> arguments;
  bool help = false;
  bool yes = false;
  std::string error;  // what is wrong with the words, "" for nothing
};

// Reads the words NAME [ARGUMENT...] [--yes] [--help] in any order of the options; behind "--" stand arguments alone.
CallRequest read_call(const std::vector<std::string>& words);

// The answer in both forms, each with its line end, and the exit status: 0, 1 for a result that says no, 64 for words
// that are wrong, for a call that destroys, without `yes`, or one that this process cannot make. The JSON of a call or
// a refusal has status and error in it; the table's is an array of rows, a function's is its row.
struct CallAnswer {
  std::string text, json;
  int status = 0;
  std::string error;
};

// Where the functions run.
struct CallHost {
  const char* log;  // the command that shows the log
  bool is_daemon;   // whether this process serves the socket, and so reaches the platform
  void (*open)();   // opens what functions need, before one is called; null where it is open
  bool (*ends)();   // whether the process is about to end, so that no call begins any more; null where it is not
};

// Shows the table, or explains a function.
CallAnswer explain(const CallRequest& request);

// Calls the function. One that destroys is not called without `yes`.
CallAnswer run(const CallRequest& request, const CallHost& host);

// Asks a person on a terminal whether to go on with a function that destroys, and sets `yes`, or `error` and returns
// false. True goes on: where nobody can be asked, because standard input or standard error is no terminal, `run` then
// refuses.
bool confirm(CallRequest* request);

}  // namespace atd
