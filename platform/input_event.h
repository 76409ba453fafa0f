// The kernel's record of an input event.
#pragma once

#include <stdint.h>

namespace atd {

// One record of an input device, in the layout of a 32-bit kernel.
struct InputEvent {
  uint32_t seconds;
  uint32_t microseconds;
  uint16_t type;
  uint16_t code;
  int32_t value;
};
static_assert(sizeof(InputEvent) == 16);

}  // namespace atd
