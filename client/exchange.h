// Talking with one daemon: which one, connecting to it, and one line with its answer.
#pragma once

#include <functional>
#include <string>

#include "client/connection.h"
#include "client/output.h"
#include "desk/message.h"
#include "desk/records.h"

namespace atd::client {

// The daemon to talk to, and how long a command may take.
struct Target {
  std::string socket;
  double timeout = 15;  // seconds, for each exchange
};

// The socket that the options name, empty where they were not given, or else the environment: ATD_SOCKET, then
// ATD_DEVICE, then the phone's own.
std::string socket_path(const std::string& socket, const std::string& device);

// Connects once, or with `patient` again and again until the deadline, as while a daemon starts; kNoDaemon, or
// kTimedOut when a daemon is there and takes nobody.
Failure connect(Connection& connection, const Target& target, Deadline deadline, bool patient = false);

// That the daemon is gone, as a failure that says how to start one.
Failure went_away(const Target& target);

// That nothing came in time, with `what` as "no answer".
Failure timed_out(const Target& target, const std::string& what);

// Sends one line and waits for the message that `is_answer` takes, which is left in *answer; what was sent before has
// been dealt with by then, and no other client's exchange is under way. kUsage for a line that is too long, kNoDaemon,
// kTimedOut, or kOther when the daemon refuses the line.
Failure exchange(Connection& connection, const Target& target, const std::string& line, Deadline deadline,
                 const std::function<bool(const Message&)>& is_answer, Message* answer);

// Sends a request and waits for its answer; failures as of exchange(), and kOther for an answer that is no record.
Failure ask(Connection& connection, const Target& target, int32_t opcode, const std::string& payload,
            Deadline deadline, Response* response);

}  // namespace atd::client
