// The daemon's socket.
#pragma once

#pragma GCC visibility push(default)

// Serves the local socket "atd" on a thread of its own; 0. Ends the process with status 1 when that cannot be.
int init_socket();

// Tells the clients that the daemon ends, and stops serving.
void stop_socket();

#pragma GCC visibility pop
