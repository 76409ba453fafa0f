// The dumps of the factory line, below /data/dbdump/.
#pragma once

#pragma GCC visibility push(default)

// Has the platform write the dump of its databases, which may fail, and writes a line for each file of the file CRC to
// FILE_CRC/file_crc.txt, the CRC as eight hex digits into out (9 bytes); 1, or 0 when that file cannot be made.
int db_dump(char* out);

// The same lines to file_crc.txt, without the platform; as above. Makes no folder.
int crcwizard_file_dump(char* out);

// Writes the kind of the boot, the SIM count and whether there is an SD card that works to phone_status.txt; 1, or 0
// when it cannot be made. The first writes the SIM count's digit as its character code.
int phone_status_dump();
int crcwizard_phone_status_dump();

#pragma GCC visibility pop
