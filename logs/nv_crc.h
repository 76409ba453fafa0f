// The CRC of the modem's numbered items, all of them but those of a fixed list. The modem computes it.
#pragma once

#pragma GCC visibility push(default)

// Sends that list and puts the modem's record into response (2048 bytes), its length into *length: the number of items
// left out, a byte, the CRC with its highest byte first, and the items left out, two bytes each with the lower one
// first. 0, or the error of request_to_system.
int frst_modem_data_clear_check(char* response, int* length);

// Writes the CRC as eight hex digits into out (9 bytes); 1, or 0 when the modem does not answer.
int nv_crc(char* out);

// Writes the CRC and the items left out to /data/nvdump/nvcrc.txt, 1024 bytes; 1, or 0 when the modem does not answer
// or the file cannot be made.
int nv_dump();

// Copies that file to the SD card's folder nvdump, or without a card to the folder nvdump of the working folder, and
// has the platform look for new files, whose answer is put into out (20 bytes), cut at 19 characters. 1, or 0 when one
// of these fails.
int nv_copy(char* out);

#pragma GCC visibility pop
