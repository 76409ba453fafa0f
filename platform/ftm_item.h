// The platform's factory item library: fixed-length records that survive a factory reset, addressed by index. Its
// functions may run on any thread.
#pragma once

extern "C" {

// Opens the item store; negative on failure.
int init_ftm_item(int argument);

// Copies `length` bytes of item `index` into `buffer`, zeros for an item that was never written; negative on failure,
// with `buffer` as it was.
int get_ftm_item(unsigned index, int length, void* buffer);

// Writes `length` bytes of `buffer` to item `index`, whole or not at all, and returns when they survive a power loss;
// negative on failure.
int set_ftm_item(unsigned index, int length, const void* buffer);

// Reads a long item made of several blocks; negative on failure.
int get_ftm_multi_item(unsigned index, int length, void* buffer);

}  // extern "C"
