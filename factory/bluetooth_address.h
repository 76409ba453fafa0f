// The Bluetooth address.
#pragma once

#pragma GCC visibility push(default)

// Stores the Bluetooth address, 12 hexadecimal digits, and has it loaded; 0, or 1 for another text or when the store
// fails.
int handle_testmode_bt_write_request(const char* text);

#pragma GCC visibility pop
