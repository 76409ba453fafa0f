// The test tool of the MID automatic test, which comes on an SD card.
#pragma once

#pragma GCC visibility push(default)

// Waits 20 seconds, then installs and starts the MID test tool from the SD card. 0, also without a mounted card or a
// tool on it; -1 when the card's id cannot be read, 1 when a command fails.
int midauto_sdcheck();

#pragma GCC visibility pop
