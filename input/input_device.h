// The kernel's input devices, and events written straight into them.
#pragma once

#include <stdint.h>

namespace atd {

// Opens the first input device whose capability bits for an event type have the code's bit; its number in *number,
// and the descriptor, which the caller closes, or -1 when none of the devices 0 to 6 has it. `skipped`, where it is
// given, is called for each device that was opened and does not have it.
int open_input_device(int type, int code, int* number, void (*skipped)(int number) = nullptr);

// Writes one record without a time; true when it was written whole.
bool write_input_event(int fd, uint16_t type, uint16_t code, int32_t value);

}  // namespace atd
