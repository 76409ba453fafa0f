// Small checksums.
#pragma once

#include <stdint.h>

#pragma GCC visibility push(default)

// The CRC-16/UMTS of a block; 0 for one that ends with its own, high byte first.
uint16_t calculate_crc(const uint8_t* data, uint16_t length);

// Puts the CRC-32 of the product ID's text into *out, 0 when it cannot be read; the result of read_pid.
int get_pid_crc(uint32_t* out);

// The value of a text of hexadecimal digits, modulo 2^32; 0 for null, for the empty text, and for one that holds
// anything else, which is logged.
uint32_t atox(const char* text);

#pragma GCC visibility pop
