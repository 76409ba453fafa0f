// The SD card's volume, which the volume daemon mounts, unmounts and formats. Each request is one exchange on a
// connection of its own.
#pragma once

#pragma GCC visibility push(default)

// Sends a command to the volume daemon on a connected socket, which stays the caller's, and waits for the line that
// ends the exchange, 20 seconds for the first line and for each one after it. 0, or 1 when the daemon refuses, does not
// answer, is gone or sends 4096 bytes that are no line, and for a command of 255 characters or more.
int do_cmd(int sock, const char* cmd);

// Mounts the card; 0 when it is mounted within four seconds of the daemon's answer, else -1.
int SetSDCardMount();

// Unmounts the card; 0, or -1 when there is no card, no daemon, or the daemon refuses.
int SetSDCardUnMount();

// Formats the card as one public volume and mounts it. Writes "FORMAT:OK" or "FORMAT:FAIL" into out (12 bytes); 0 or 1.
int mmc_mmcformat(char* out);

#pragma GCC visibility pop
