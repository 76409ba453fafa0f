// Hardware addresses: six bytes, written as 12 hexadecimal digits.
#pragma once

namespace atd {

// The Bluetooth address where none is stored: a locally administered one, which belongs to no maker.
inline constexpr char kDefaultBluetoothAddress[] = "020000000000";

// How many bytes an address has, and digits its text.
inline constexpr int kAddressSize = 6;
inline constexpr int kAddressDigits = 2 * kAddressSize;

}  // namespace atd
