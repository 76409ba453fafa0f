// The CRC commands of the factory line: a number in, a text out.
#pragma once

#pragma GCC visibility push(default)

// Runs a command and writes "0x" and its text into out (22 bytes): 0 the CRC of the databases, 1 that of the FPRI, 2 of
// the code, 3 of the files, with the dumps of databases, files and phone status written, 4 the copy of the databases,
// 5 the CRC of the files, 6 of the modem's numbered items, 7 their dump, which has no text, 8 its copy. 0, or 1 with
// "ERROR" for a failure and for another number. 0, 1, 3, 4 and 8 ask the platform, on any thread but the socket's own.
int crc_command(int type, char* out);

// Runs the CRC wizard's only command, 0: writes the dumps of files and phone status, and "0x" and the CRC of the files
// into out (22 bytes). 0, or 1 with "ERROR" as above.
int crcwizard_command(int type, char* out);

// Ask the platform for the CRC of the databases, for that of the FPRI, or to copy the databases, and put its answer as
// text into out (20 bytes), cut at 19 characters. 1, or 0 with the empty text when it fails.
int db_crc(char* out);
int fpri_crc(char* out);
int db_copy(char* out);

#pragma GCC visibility pop
