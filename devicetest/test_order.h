// The order of the automatic test: the numbers of its items, separated by commas, in the order in which they run.
// Failures are 1 and are logged.
#pragma once

#pragma GCC visibility push(default)

// Appends the stored order to the text in `dest` (128 bytes); 0, or 1 when it cannot be read, is empty or is not a
// list.
int read_aatorder(char* dest);

// Copies the token of that place, from 0, of the stored order to `dst` (8 bytes); 0, or 1 with `dst` untouched when
// there is none.
int get_this_order(unsigned index, char* dst);

// Stores an order, which must be a permutation of the stored one of the same length, and puts the groups of the stored
// set into it; 0, or 1. A set that cannot be written stays in the old order.
int write_aatorder(const char* newOrder);

// Splits the first 128 characters of a list at its commas and copies token k to out[k], which the caller has allocated
// with room for it, at most 64 of them; 0.
int parsing_str_by_comma(char** out, const char* text);

#pragma GCC visibility pop
