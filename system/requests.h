// Requests of the system to the modem and the platform.
#pragma once

#pragma GCC visibility push(default)

// Switches the power key's hard reset on, or off ('0'), in the modem; 0, or 1 when it refuses or does not answer.
int system_powerkey_hardreset_enable(char c);

// Copies the modem's check of the calibration data to the property sys.tav.caldata_check, cut at 91 characters; 0, or
// -1 without an answer.
int system_set_caldata_check_prop();

// 1 when ports are to be blocked at a low battery: in a QEM boot, where sys.cmd_block asks for it and the calibration
// data is not good; else 0.
int get_low_batt_port_block_check();

// Tells the platform once that the system was upgraded, where the item of the upgrade says so; always 0.
int system_osupgrade_notify();

// Detaches from the network by arguments, joined by commas and cut at 2047 bytes, and puts the modem's answer as text
// into response (2048 bytes); 0, or the error of request_to_system; 1 without a request for a null pointer.
int detach(char** arguments, int count, char* response);

// Clears the screen's lock pattern by a text of at most 2048 bytes, and puts the platform's answer as text into
// response (2048 bytes); 0, or the error of request_to_system.
int pattern_clear(const char* text, char* response);

// Puts the phone number into out (2048 bytes) as text, cut at 2047, and its answer's length into *length, -1 on
// failure; 0, or the error of request_to_system.
int get_phone_number(char* out, int* length);

// Takes the codes of three digits out of a list of quoted texts: each quoted text but the first, as "450,310" in out
// (2048 bytes); always 0.
int get_mcc_list(const char* text, char* out);

#pragma GCC visibility pop
