// The library's functions by name, for a person at the desk.
#pragma once

#include <vector>

#include "simulator/host.h"

namespace atd {

// The functions that can be called, in the order of their rooms.
std::vector<sim::HostFunction> library_functions();

}  // namespace atd
