// How the phone's local sockets behave.
#pragma once

namespace atd::sim {

struct Sockets {
  // How long a connection that does not read may hold up a message before it is dropped, in milliseconds of real time.
  int send_wait_ms = 1000;
};

}  // namespace atd::sim
