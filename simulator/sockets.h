// How the phone's local sockets behave.
#pragma once

#include <atomic>
#include <memory>

#include "simulator/socket_record.h"

namespace atd::sim {

struct Sockets {
  // How many clients the socket "atd" has.
  std::atomic<int> clients{0};

  // The recording of the socket "atd", null for none; set before the socket is served.
  std::unique_ptr<SocketRecord> record;
};

}  // namespace atd::sim
