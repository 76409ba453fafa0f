// What a host daemon does on threads of its own, by hand: lines that are read from standard input.
#pragma once

#include <mutex>

namespace atd::sim {
class SimulatedDevice;
}

// Reads and runs lines until the end of standard input, each answered with one line on standard output; "help" lists
// what there is. Blocks, so it wants a thread of its own; `busy` is held while a line runs.
void run_console(atd::sim::SimulatedDevice& device, std::mutex& busy);
