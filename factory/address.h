// Hardware addresses: six bytes, written as 12 hexadecimal digits.
#pragma once

#pragma GCC visibility push(default)

// Stores the Bluetooth address, 12 hexadecimal digits, and has it loaded; 0, or 1 for another text or when the store
// fails.
int handle_testmode_bt_write_request(const char* text);

#pragma GCC visibility pop

namespace atd {

// The Bluetooth address where none is stored: locally administered, so that it is no maker's.
inline constexpr char kDefaultBluetoothAddress[] = "020000000000";

// Turns 12 hexadecimal digits of either case into six bytes; 0, or 1 at the first other character, which is logged.
int bt_addr_ascii_to_hexa(const char* text, void* bytes);

// Writes six bytes as 12 upper-case digits and a terminator.
void bt_addr_hexa_to_ascii(const void* bytes, char* text);

// Writes the Bluetooth address (six bytes); 0, or 1 when the store fails or the pointer is null.
int bt_addr_write(const void* bytes);

// Reads or writes the WLAN MAC address (six bytes); 0, or 1 when the store fails, and for reading when all are zero.
int wlan_mac_read(void* bytes);
int wlan_mac_write(const void* bytes);

// Stores the WLAN MAC address given by the text's first 12 digits; 0, or 1 when they are none or the store fails.
int wlan_mac_assign(const char* text);

}  // namespace atd
