// Tests of the SD card's slot, mount and medium.
#pragma once

#pragma GCC visibility push(default)

// Writes the file test.txt on the card and reads it back, without removing it; 0 when it holds what was written, else
// -1.
int StartSDCardRWTest();

// Mounts an inserted card that is not mounted, runs StartSDCardRWTest and removes its file; 0 or -1.
int SDCardTestStart();

// Runs SDCardTestStart up to three times; 0 at the first success, else 1. The argument is not used.
int mmc_emt(char*);

// Writes, reads and removes the file Test.txt on a mounted card; 0, 1 when the card is not mounted or one of these
// fails, or -1 when it has no id. The argument is not used.
int mmc_sdcheck(char*);

// Writes "0" into out (2 bytes) when the slot reports a card for which there is no block device, else "1". Returns 0,
// or 1 with the empty text when the slot's state cannot be read.
int mmc_dummysdcheck(char* out);

#pragma GCC visibility pop
