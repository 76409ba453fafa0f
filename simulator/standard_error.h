// What a simulated phone and its daemon show on standard error. Nobody waits for its reader: a thread of its own writes
// the lines, one after the other, to whatever descriptor 2 is.
#pragma once

#include <string_view>

namespace atd::sim {

// Shows one line, with its line end. When too many lines wait for a reader, or they cannot be written, lines are left
// out, and a line that says how many follows as soon as one can be written. A process that goes on in
// a child shows nothing before the fork: the child would be without the thread.
void show(std::string_view line);

// Waits until everything is written, at most a quarter of a second; the number of lines that are not. The end of the
// process waits in the same way.
int await_shown();

// Counts lines that an earlier program of this process could not show.
void add_not_shown(int lines);

}  // namespace atd::sim
