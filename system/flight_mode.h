// Flight mode, of the platform and of the modem.
#pragma once

#pragma GCC visibility push(default)

// 1 while the modem is in flight mode, else 0.
extern int modem_flight_status;

// Asks the platform for its flight mode, and puts its answer as text into out (2048 bytes), "" when there is none; 0,
// or the error of request_to_system.
int flight_mode_get_status(char* out);

// Hands a text of at most 2048 bytes to the platform as its flight mode; out and the result as above.
int flight_set_mode(const char* text, char* out);

// Switches the modem's flight mode, and then the phone's sleep, on for a text that begins with '1' and off for any
// other. Puts "[1] FLIGHT Mode ON", "[0] FLIGHT Mode OFF" or, when the modem does not do it, "ERROR" into out (20
// bytes). Returns the result of system_sleep or system_wakeup, 1 when the modem refuses, or the error of
// request_to_system.
int flight_set_mode_to_modem(const char* mode, char* out);

// Puts the modem's flight mode into out (2 bytes) as the text "1" or "0"; always 0.
int modem_flight_mode_get_status(char* out);

// The modem's flight mode, 1 or 0.
int get_flight_status();

#pragma GCC visibility pop
