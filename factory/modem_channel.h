// Bulk data and numbered items of the modem. One bulk transfer runs at a time: the chunks of two would mix. The other
// functions may run on any thread.
#pragma once

#pragma GCC visibility push(default)

// Sends bulk data in chunks of 255 bytes; 0, 1 for a negative length, or the error of request_to_system.
int send_modem_data(const char* data, int length);

// Receives bulk data into buffer, which has room for all that the modem has, and adds its size to *length. The caller
// sets *length to 0 first. Returns 0, 1 when there is no data, or the error of request_to_system.
int receive_modem_data(char* buffer, int* length);

// Reads or writes the 128 bytes of a numbered item of the modem; 0, 1 for a null pointer or an item number above 65535,
// -1 without memory, 4 when the modem does not answer, 5 when the item is inactive, or the modem's own status.
int tav_diag_nvread(int item, char* data);
int tav_diag_nvwrite(int item, const char* data);

// Makes a modem request of at most 2048 bytes and puts its answer into response (2048 bytes); 0, -1 for a longer
// request or a null pointer, or the error of request_to_system.
int get_tav_data_from_modem(int opcode, const char* request, int length, char* response, int* response_length);

#pragma GCC visibility pop
