// Who else is connected to the daemon.
#pragma once

#include <string>

namespace atd::client {

// How many other clients are connected to the daemon at a phone's socket besides the caller's one connection, which the
// daemon has answered; -1 where that is not seen.
int other_clients(const std::string& socket);

}  // namespace atd::client
