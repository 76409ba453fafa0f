// Requests of the library and its host to the modem and the platform.
#pragma once

#pragma GCC visibility push(default)

// Opens the modem interface with a client handle, on any thread, once the request that runs has its answer; its status,
// 0 when it is ready.
int init_modem_interface(int arg);

// Asks the modem (opcodes 0 to 971) or the platform service (1000 to 4414, on any thread but the socket's own, waiting
// at most 10 seconds) with at most 2048 bytes of data. 0 with the answer's bytes in out_data (2048 bytes), their number
// in *out_len and its status word in *out_status; 1 when there was no answer, 2 for any other opcode, else the
// answer's error. A failure also sets *out_len to -1 when out_data is given. Every pointer may be null.
int request_to_system(int opcode, const char* data, int len, char* out_data, int* out_len, int* out_status);

#pragma GCC visibility pop
