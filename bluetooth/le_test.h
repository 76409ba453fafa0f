// The tests of Bluetooth Low Energy. One test runs at a time, and these functions run on one thread at a time. Each
// returns 0, or 1 on failure; the functions of a test also 2 when the controller does not support it.
#pragma once

#pragma GCC visibility push(default)

// Switches the tests on; 1 also unless they are off.
int handle_testmode_btle_test_enable();

// Switches them off; 1 also when they are off or one still runs.
int handle_testmode_btle_test_disable();

// Starts to send packets of 37 bytes on channel code - 41. A start is not checked against what runs: the test that was
// started last is the one that can be ended.
int handle_testmode_btle_tx_test_start(int code);

// Starts to receive on a channel; not checked either.
int handle_testmode_btle_rx_test_start(int channel);

// Ends the transmitter test; 1 also when none runs.
int handle_testmode_btle_tx_test_end();

// Ends the receiver test and stores the number of packets received, at most 99999, where `count` is not null; 1 also
// when none runs.
int handle_testmode_btle_rx_test_end(unsigned* count);

#pragma GCC visibility pop
