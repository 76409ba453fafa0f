// The battery's temperature, the charger and the currents.
#pragma once

#pragma GCC visibility push(default)

// Copies the battery's temperature, in tenths of a degree as its node has it, at most 10 characters, to `out` (11
// bytes). 0; 1 for -300, which a battery without a thermistor has, and 1 with the empty text when the node cannot be
// read.
int get_battery_therm(char* out);

// Writes the battery's temperature in degrees, "31.5", to `out` (16 bytes). 0, or 1 with the empty text when the node
// cannot be read.
int get_batt_them(char* out);

// Copies whether charging is enabled, at most 10 characters of its node, to `out` (11 bytes). 0, or 1 with the empty
// text when it cannot be read.
int get_charge_status(char* out);

// Enables charging ('1') or disables it ('0'); any other character changes nothing and gives 0. 0, or 1 when the
// node does not take it.
int set_charge_status(char c);

// Stores whether charging is complete, the low byte of its node's number, in *out. 0, or 1 with *out as it was when the
// node cannot be read.
int get_charging_complete_status(unsigned char* out);

// Sets whether charging is complete, as set_charge_status does.
int set_charging_complete_status(char c);

// Each writes the number of its node, in the driver's unit, to `out` (12 bytes): the battery's current, and the
// charger's. 0, or 1 with the empty text when the node cannot be read.
int get_ibat_current(char* out);
int get_ichg_current(char* out);

#pragma GCC visibility pop
