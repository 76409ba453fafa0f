// The work that functions go on with after they have returned: restarts, power-offs, resets, USB changes.
#pragma once

#pragma GCC visibility push(default)

// Waits until all of it has ended, for a process that would take it along when it exits.
void await_background_work();

#pragma GCC visibility pop
