// Hardware addresses: six bytes, written as 12 hexadecimal digits.
#pragma once

namespace atd {

// The Bluetooth address where none is stored: a locally administered one, which belongs to no maker.
inline constexpr char kDefaultBluetoothAddress[] = "020000000000";

// The bytes of an address.
inline constexpr int kAddressSize = 6;

// Reads or writes the WLAN MAC address (six bytes); 0, or 1 when the store fails or the bytes read are all zero.
int wlan_mac_read(void* bytes);
int wlan_mac_write(const void* bytes);

// Stores the WLAN MAC address in the text's first 12 characters; 0, or 1 when one is not a hexadecimal digit or the
// store fails.
int wlan_mac_assign(const char* text);

}  // namespace atd
