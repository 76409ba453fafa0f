// The Bluetooth controller's test modes, as the platform's test library has them. Where a function says nothing else, a
// result of 0 or more is success, -2 says that the controller does not support it, any other one is a failure.
#pragma once

extern "C" {

// Puts the controller into device-under-test mode, with audio looped back on path `index` (1 to 32), or on none (0).
int bluetooth_enter_dut_mode(int index);

// Leaves device-under-test mode; 2 when the controller is not in it.
int bluetooth_exit_dut_mode();

// Whether the controller is in device-under-test mode: 1 or 0; with another value it does not say.
int bluetooth_is_dut_mode();

// Switches Low Energy on; 0 on success.
int do_ble_enable();

// Switches Low Energy off; 0 on success.
int do_ble_disable();

// Starts to send test packets of `length` bytes on a channel, 0 to 39, with the payload of the pattern's number.
int bt_le_transmitter_test(int channel, int length, int pattern);

// Starts to receive test packets on a channel, 0 to 39.
int bt_le_receiver_test(int channel);

// Ends the transmitter test.
int bt_le_tx_test_end();

// Ends the receiver test and stores how many packets were received.
int bt_le_rx_test_end(unsigned* count);

// Whether bytes from a tester are a Low Energy command: 1, else 0.
int checkIsBleCmd(const unsigned char* data, int length);

// Carries a Low Energy command out and fills `reply`, which holds 1024 bytes, and its length, 0 for no reply.
int doProcessBLECmd(const unsigned char* data, int length, unsigned char* reply, int* reply_length);

}  // extern "C"
