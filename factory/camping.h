// Camping on a band.
#pragma once

#pragma GCC visibility push(default)

// Asks the modem to camp on a band (4 to 94, others are left alone with 0); 0 when it camps, 2 when it does not or does
// not answer.
int campreq(int band);

// Asks the modem to camp by arguments, joined by commas, with its answer in response (2048 bytes); 0, or the error of
// request_to_system.
int campreq(char** arguments, int count, char* response);

#pragma GCC visibility pop
