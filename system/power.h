// Restart and power-off, and what goes before them.
#pragma once

#pragma GCC visibility push(default)

// End the phone's run one second later, on a thread of their own, once the modem's file system is written out. A second
// request for the same ending within that second joins the first. Each returns 0, or -1 when the modem's file system
// could not be written or there is no thread.
int system_restart();   // also writes the phone's file systems out
int system_poweroff();  // the same; 0 without a thread when the kernel switches the phone off already
int system_dload();     // restarts into download mode; writes the phone's file systems out on its thread
int system_aat();       // the same into the automatic test

// Do so on the caller's thread, one second from now, without writing the modem's file system out. They return where the
// platform refuses, and otherwise at the phone's end.
void restart();
void poweroff();

// The same with a reason for the boot loader; writes the phone's file systems out first.
void restart_with_reason(const char* reason);

// Writes the modem's file system out; 0, or -1.
int system_efs_sync();

#pragma GCC visibility pop
