// Hardware addresses: six bytes, written as 12 hexadecimal digits.
#pragma once

namespace atd {

// The Bluetooth address where none is stored: a locally administered one, which belongs to no maker.
inline constexpr char kDefaultBluetoothAddress[] = "020000000000";

// Turns 12 hexadecimal digits of either case into six bytes; 0, or 1 at the first other character, which is logged.
int bt_addr_ascii_to_hexa(const char* text, void* bytes);

// Writes six bytes as 12 upper-case digits and a terminator.
void bt_addr_hexa_to_ascii(const void* bytes, char* text);

// Writes the Bluetooth address (six bytes); 0, or 1 when the store fails or the pointer is null.
int bt_addr_write(const void* bytes);

// Reads or writes the WLAN MAC address (six bytes); 0, or 1 when the store fails or the bytes read are all zero.
int wlan_mac_read(void* bytes);
int wlan_mac_write(const void* bytes);

// Stores the WLAN MAC address in the text's first 12 characters; 0, or 1 when one is not a hexadecimal digit or the
// store fails.
int wlan_mac_assign(const char* text);

}  // namespace atd
