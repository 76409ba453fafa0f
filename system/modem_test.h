// The modem's test mode: requests without data, whose answer tells the outcome in its first character. Where nothing
// else is said, a function returns 0 when that is '1' and 1 for any other, or the error of request_to_system.
#pragma once

#pragma GCC visibility push(default)

// Switches the test script on.
int set_tav_test_script_item();

// Puts the test script's mode as text into out (2048 bytes), and its length into *length; 0, 1 for an empty answer, or
// the error of request_to_system. A failure leaves the empty text.
int get_tav_test_script_mode(char* out, int* length);

// Keeps a copy of the calibration data (0), takes it back from the copy (1), or resets it (2), which returns 0 for any
// answer. Another kind returns 1 without a request.
int set_tav_test_script_cal_data(int kind);

// Switch WCDMA to its maximum power, and back.
int tav_wcdma_maxpower_on();
int tav_wcdma_maxpower_off();

// Put the calibration data, and what a check of it found ('0' first: it is good), as text into out (2048 bytes), the
// empty text without an answer; 0 for any answer, or the error of request_to_system.
int tav_cal_check_read(char* out);
int tav_cal_data_check(char* out);

// Run the VCO's self-tuning, and read its outcome; 2 for an answer that begins with '2'.
int tav_vco_self_tunning_write();
int tav_vco_self_tunning_read();

// 0 when the modem takes commands; else, and without an answer, 1.
int tav_check_modem_cmd_ready();

// Checks the RF devices. 0 when they are good, and `out` is left alone. Else 1, with the text after the answer's first
// character in `out` (2048 bytes), the empty text without an answer.
int rf_device_check(char* out);

// 0 when the modem has booted, else 1.
int tav_check_modem();

// Writes the modem's file system out and restarts the modem alone. Returns 0 at once while such a restart runs, for
// five seconds. Returns 1 when the file system cannot be written or the modem's restart cannot be enabled, else 0, even
// when the modem refuses; a restart that did not begin keeps all later ones away until the process ends.
int tav_reset_modem();

#pragma GCC visibility pop
