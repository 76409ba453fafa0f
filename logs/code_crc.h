// The CRC of the software partitions.
#pragma once

#pragma GCC visibility push(default)

// Writes the sum of the CRC-32 of every KiB of the phone's software as eight hex digits into out (9 bytes); always 1. A
// partition that cannot be opened is reported and left out; behind a partition's end, or what cannot be read, are
// zeros.
int code_crc(char* out);

#pragma GCC visibility pop
