// Wake locks.
#pragma once

enum { PARTIAL_WAKE_LOCK = 1, FULL_WAKE_LOCK = 2 };

extern "C" {

// Takes a wake lock of the given kind and name; negative on failure.
int acquire_wake_lock(int lock, const char* id);

// Gives a wake lock back; negative on failure.
int release_wake_lock(const char* id);

}  // extern "C"
