// The daemon's socket.
#pragma once

#pragma GCC visibility push(default)

// Serves the local socket "atd" on a thread of its own. Returns 0, or ends the process with status 1 when it cannot.
int init_socket();

// Tells the clients that the daemon ends, and stops serving.
void stop_socket();

#pragma GCC visibility pop
