// The daemon that the socket benchmarks talk to; bench/main.cpp runs it.
#pragma once

#include <sys/types.h>

#include <string>

namespace bench {

std::string daemon_socket();
pid_t daemon_pid();

}  // namespace bench
