// How the phone has booted, what is plugged into it, and what the boot stages are told.
#pragma once

#pragma GCC visibility push(default)

// 0 when the system is a ROM-copy image of the device test, else 1.
int system_check_minios_romcopy();

// 1 when the boot is complete, else 0.
int system_check_fboot();

// Sets the properties of the QEM and PIF boots by the boot mode. A QEM boot also switches the log service on, or off
// with its logs removed after a MFTS. Always 0.
int system_set_env_property();

// Switches the log service on, or off (0); always 0.
int system_set_logservice(int on);

// 1 when the property says that a PIF cable is connected, when the phone was booted by one, and when a battery is
// there, else 0.
int system_get_pif_status();
int system_check_pif_bootmode();
int system_get_battery_status();

// The factory cable: 1 of 56k, 2 of 130k, 3 of 910k, 0 for any other, or -1 when it cannot be read.
int system_get_cable_type();

// Makes the folder /data/factory; 0, also where it is there already, or 1.
int system_mkdir_factory();

// Logs the local time.
void show_current_time();

// Stores the value's low byte as the status that the next boot begins with, in persist.sys.tav.bootstatus; 0, or -1.
int set_bootstatus(int value);

// Forgets the operator, in persist.sys.tav.operator; 0, or -1.
int set_operator_clear();

#pragma GCC visibility pop
