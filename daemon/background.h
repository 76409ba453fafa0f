// The daemon's process on a desktop: its standard streams, what its caller left open, the way to the background.
#pragma once

#include <signal.h>

namespace atd {

// The signals that end the daemon.
constexpr int kStopSignals[] = {SIGTERM, SIGINT, SIGHUP};

// Opens /dev/null for each standard stream that is closed, so that nothing that is opened later takes its place.
void open_standard_streams();

// Closes what the caller left open, but not the socket that it hands over; -1 for none.
void close_inherited(int handed_over);

// Goes on in a child that has a session of its own; returns the descriptor that takes one byte when it is ready, or -1.
// The parent ends with status 0 once the child says so, or with the child's status when it failed before. A signal that
// stops the parent stops the child.
int detach();

// Puts /dev/null in the place of the standard streams, but not of the socket that was handed over.
void drop_terminal(int handed_over);

}  // namespace atd
