// The commands that tell and store the Bluetooth address. `out` holds 64 bytes, or is null.
#pragma once

#pragma GCC visibility push(default)

// Tell the stored address as 12 upper-case digits, or 020000000000 where none can be read; 0.
int handle_atcmd_btad_query(char* out);
int handle_testmode_bt_read_request(char* out);

// Tells how to write the command that stores an address; 0.
int handle_atcmd_btad_range(char* out);

// Stores the address in 12 parameters of one hexadecimal digit each and tells "BLUETOOTH ADDRESS WRITE OK"; 0, or 1
// with `out` as it was for other parameters or when the store fails.
int handle_atcmd_btad_assign(const char* const* params, int count, char* out);

#pragma GCC visibility pop
