// The tests of Bluetooth Low Energy. One test runs at a time, and these functions run on one thread at a time. Each
// returns 0, 1 on failure, or 2 when the controller does not support the test.
#pragma once

#pragma GCC visibility push(default)

// Switches the tests on; 1 also when they are on.
int handle_testmode_btle_test_enable();

// Switches them off; 1 also when they are off or one still runs.
int handle_testmode_btle_test_disable();

// Starts to send packets of 37 bytes on channel code - 41.
int handle_testmode_btle_tx_test_start(int code);

// Starts to receive on a channel.
int handle_testmode_btle_rx_test_start(int channel);

// Ends the transmitter test; 1 also when none runs.
int handle_testmode_btle_tx_test_end();

// Ends the receiver test and stores the number of packets received, at most 99999, where `count` is not null; 1 also
// when none runs.
int handle_testmode_btle_rx_test_end(unsigned* count);

#pragma GCC visibility pop
