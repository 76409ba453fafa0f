// The result of the automatic touch test, handed out in pieces. The position of a transfer that is not complete stands
// in a file.
#pragma once

#pragma GCC visibility push(default)

// Appends the next words of the result, until they have more than 512 characters, to the text in out, which the caller
// has emptied (2600 bytes); a word is cut at 2048, and the first piece begins with the PID. 0, or -1 when there is no
// result.
int scan_auto_touch_result(char* out);
int logsave_aat_touch(char* out);

// Writes "1" to out (2 bytes) and returns 1 while a transfer is not complete, else "0" and 0.
int check_transfer_status(char* out);

#pragma GCC visibility pop
