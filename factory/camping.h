// Camping on a band.
#pragma once

#pragma GCC visibility push(default)

// Asks the modem to camp on a band from 4 to 94; 0 when it camps, 2 when it does not or does not answer. A band for
// which the modem has no number returns 0 without a request.
int campreq(int band);

// Asks the modem to camp by arguments, joined by commas, and puts its answer as text into response (2048 bytes); 0, or
// the error of request_to_system, with 2 for any above 2; 1 without a request for a null pointer.
int campreq(char** arguments, int count, char* response);

#pragma GCC visibility pop
