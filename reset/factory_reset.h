// The factory reset: a state machine whose state is the factory status. 0 asks for a reset, 1 has begun it, 2 has
// cleared the modem and the factory items. The caller then sets 5 and has the platform wipe the phone. After the wipe 3
// and 4 become 5 when the boot is complete, and the end of the setup wizard makes it 6.
#pragma once

#pragma GCC visibility push(default)

// 1 while a reset from the hidden menu clears the SD card, too; such a reset keeps the applications' data.
extern int hiddenmenu_frst;

// Runs the steps of the present status and of those that follow, 200 ms apart, up to one of 2, 5 and 6, or to 3 with
// the blue factory mode. At 3 and 4 it returns only when the status changes: once the boot is complete, and
// never in a boot that leaves the status alone. At 5 it starts the watch for the setup wizard,
// unless it runs, and removes the hashes of the applications and the keys. 0, or 1 when the modem keeps its data, the
// status cannot be read or stored or is none of these, or the watch has no thread.
int sfactoryreset();

// Runs the step of one status; 0, or 1 when the modem keeps its data or the next status is not stored.
int frst_run(int status);

// Has the modem clear its data; 0, 1 when it cannot restore its defaults, or the error of request_to_system.
int frst_modem_data_clear();

// Has the modem make a backup of its data; 0, or the error of request_to_system.
int frst_rzcp_modem_backup();

// Clears the QEM flag, the charger skip and the LCD break mode; marks the reset as running in the factory mode 2 and on
// a 56k cable.
void frst_factory_item_clear();

// While the factory status is 5, waits for the end of the setup wizard and then makes it 6. Does nothing at any other
// status, and ends when it changes.
void check_setupwizard_complete();

// Removes the records of call durations where the phone has a folder of them.
void factory_reset_callduration_erase();

#pragma GCC visibility pop
