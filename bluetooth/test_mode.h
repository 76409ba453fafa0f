// The Bluetooth controller's device-under-test mode (DUT).
#pragma once

#pragma GCC visibility push(default)

// Tells "1" when the controller is not in the mode, else "2", also when it does not say; 0. `out` holds two bytes, or
// is null.
int handle_bt_test_mode_query(char* out);

// 0 when the controller is in the mode, 1 when it is not, 2 when it does not say.
int handle_testmode_bt_test_mode_query();

// Enters the test mode of one digit, or of two with the units first: "12" is 21; what `enter_bt_test_mode` returns, or
// 1 for another text.
int handle_bt_test_mode_assign(const char* text);

// Enters the mode (code 1, or 11 to 42 for an audio loopback) or leaves it (5); what `enter_bt_test_mode` returns, or 1
// for another code.
int handle_testmode_bt_test_mode_assign(int code);

// Enters the mode without audio (2), or with the audio loopback of path value - 10 (11 to 42), and leaves it (3); takes
// half a second, or 50 ms to leave. 0, also when there is nothing to leave; 1 for another value and when the controller
// refuses to enter; else the controller's result.
int enter_bt_test_mode(int value);

#pragma GCC visibility pop
