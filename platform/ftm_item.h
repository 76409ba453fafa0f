// The platform's factory item library: fixed-length records that survive a factory reset, addressed by index.
#pragma once

extern "C" {

// Opens the item store; negative on failure.
int init_ftm_item(int argument);

// Copies `length` bytes of item `index` into `buffer`; negative on failure.
int get_ftm_item(unsigned index, int length, void* buffer);

// Writes `length` bytes of `buffer` to item `index`; negative on failure.
int set_ftm_item(unsigned index, int length, const void* buffer);

// Reads a long item made of several blocks; negative on failure.
int get_ftm_multi_item(unsigned index, int length, void* buffer);

}  // extern "C"
