// The kernel's input devices, and events written straight into them.
#pragma once

#include <stdint.h>

namespace atd {

// Opens the first of the input devices 0 to 6 whose capability bits for an event type have the code's bit. Sets *number
// to its number and returns the descriptor, which the caller closes, or -1 when no device has the bit. `skipped`, where
// it is given, is called for each device that was opened and does not have it.
int open_input_device(int type, int code, int* number, void (*skipped)(int number) = nullptr);

// Writes one record without a time; true when it was written whole.
bool write_input_event(int fd, uint16_t type, uint16_t code, int32_t value);

}  // namespace atd
