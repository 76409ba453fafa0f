// Switching the phone off once the factory cable is pulled.
#pragma once

#pragma GCC visibility push(default)

// Makes the phone dark and slow, keeps it awake, and switches it off when the cable is pulled; 0, or 1 without a wake
// lock or a thread. The wake lock ends with the phone's run.
int power_off_with_cable();

// Polls the USB state once a second, on the caller's thread, and switches the phone off when the cable is pulled. Ends
// at once where the state is invalid at first; later that counts as a pulled cable.
void wait_for_cable_disconnect();

// After a restart of the daemon, goes on with what power_off_with_cable has begun, if it has. Returns the result of
// power_off_with_cable or system_poweroff, 0 where there is nothing to go on with, or 1 where the USB state is invalid.
int retry_power_off_with_cable();

#pragma GCC visibility pop
