// Resets from the hidden menu: the preparation of factory_reset.h, and then the wipe.
#pragma once

#pragma GCC visibility push(default)

// Prepares the reset and hands the wipe to the platform, which reboots the phone, whatever comes of the preparation;
// the wait status of the hand-over's command, -1 without a shell, or 1 when the factory status cannot be stored: then
// nothing is wiped.
int hidden_factoryreset();

// The same with the SD card erased first, where a card works. 0 once the wipe is handed over, or 1 when the card cannot
// be erased, the preparation cannot begin or fails, or the factory status cannot be stored: then nothing is wiped.
int hidden_factoryreset_sdcard();

// Runs hidden_factoryreset_sdcard on a thread of its own; 0, or -1 when there is no thread.
int factoryreset_crst();

// In a normal boot erases the card as above, prepares the reset, has the deletion service empty /data, sets the factory
// status to 3 and switches the phone off. 0, or 1 in another boot and at the first of these that fails.
int hidden_factoryreset_sdcard_power_off();

// Brings the SD card back to its default contents where it has a list of them, or formats it, which takes up to 14
// seconds and the time of the format. 0, also where there is no working card and nothing was erased, or 1.
int erase_external_sdcard();

#pragma GCC visibility pop
