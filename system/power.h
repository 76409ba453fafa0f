// Restart, and what goes before it.
#pragma once

#pragma GCC visibility push(default)

// Writes the modem's and the phone's file systems out and restarts the phone one second later, on a thread of its own.
// One that is asked for within that second joins it. Returns 0, or -1 when the modem's file system could not be written
// or there is no thread.
int system_restart();

// Writes the modem's file system out and restarts the phone into the automatic test, one second later, as
// system_restart does. Returns 0, or -1 when the modem's file system could not be written or there is no thread.
int system_aat();

// Writes the modem's file system out; 0, or -1.
int system_efs_sync();

#pragma GCC visibility pop
