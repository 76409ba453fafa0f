// Talking to one daemon: which one it is, how to connect to it, and one line with its answer.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "client/connection.h"
#include "client/failure.h"
#include "desk/framing.h"
#include "desk/message.h"

namespace atd::client {

// The daemon to talk to, and how long a command may take.
struct Target {
  std::string socket;
  double timeout = 15;  // seconds, for each exchange
};

// The socket that the options name, or where both are empty the environment: ATD_SOCKET, then ATD_DEVICE, then the
// phone's own.
std::string socket_path(const std::string& socket, const std::string& device);

// The root folder of the phone that has this socket, "" on a phone itself; none where the path has another end than a
// phone's.
std::optional<std::string> phone_root(const std::string& socket);

// The folder of the simulated phone that has this socket, or ATD_DEVICE where only that names one; "" for none.
std::string phone_folder(const std::string& socket, const std::string& device);

// What to do where no daemon runs: how to start one. `folder` is the simulated phone's, "" where none is known.
std::string how_to_start(const std::string& folder);

// Connects once, or with `patient` again and again until the deadline, for a daemon that starts. Fails with kNoDaemon
// or kNoPermission, or with kTimedOut when a daemon is there and accepts nobody.
Failure connect(Connection& connection, const Target& target, Deadline deadline, bool patient = false);

// The failure that the user may not use a socket.
Failure no_permission(const std::string& socket);

// The failure that the daemon is gone, with how to start one.
Failure went_away(const Target& target);

// The failure that something did not come in time; `what` says what, such as "no answer".
Failure timed_out(const Target& target, const std::string& what);

// kUsage for a line that is longer than the daemon takes.
Failure check_length(const std::string& line);

// Sends one line and waits for the message that `is_answer` accepts, which is left in *answer. By then the daemon has
// dealt with what was sent before, and no other client's exchange is under way. Fails with kUsage for a line that is
// too long, kNoDaemon, kTimedOut, or kOther when the daemon refuses the line.
Failure exchange(Connection& connection, const Target& target, const std::string& line, Deadline deadline,
                 const std::function<bool(const Message&)>& is_answer, Message* answer);

// Waits for a sign of the platform: its "initialize", an answer of its, or another client of the daemon, which may be
// the platform. Wait::message when one has come.
Wait await_platform(Connection& connection, const Target& target, Deadline deadline);

// Sends a request and waits for its answer. Fails as exchange() does, and with kOther for a malformed answer.
Failure ask(Connection& connection, const Target& target, int32_t opcode, const std::string& payload, Deadline deadline,
            Response* response);

}  // namespace atd::client
