// The Bluetooth address: six bytes, written as 12 hexadecimal digits.
#pragma once

#pragma GCC visibility push(default)

// Turns the text's first 12 characters, hexadecimal digits of either case, into six bytes; 0, or 1 at the first other
// character, which is logged, with the bytes before it filled.
int bt_addr_ascii_to_hexa(const char* text, void* bytes);

// Writes six bytes as 12 upper-case digits and a terminator.
void bt_addr_hexa_to_ascii(const void* bytes, char* text);

// Reads or writes the stored address (six bytes); 0, or 1 when the store fails, which leaves six bytes FF, or the
// pointer is null. An address of zeros counts as not stored, and reading it is 1.
int bt_addr_read(void* bytes);
int bt_addr_write(const void* bytes);

// Stores the Bluetooth address, 12 hexadecimal digits, and has it loaded; 0, or 1 for another text or when the store
// fails.
int handle_testmode_bt_write_request(const char* text);

#pragma GCC visibility pop
