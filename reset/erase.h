// Erasing the cache partition.
#pragma once

#pragma GCC visibility push(default)

// Discards the whole cache partition; 0, -1 when it cannot be opened, -2 when it has less than 2000 bytes, or -3 when
// the device refuses.
int erase_partition();

// At the start-up after a factory reset (status 6, no factory mode): where the cache has the marker of a new system,
// erases the cache partition and restarts the phone.
void xboot_data_init();

#pragma GCC visibility pop
