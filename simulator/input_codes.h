// Names of input event types and codes, as the kernel's headers have them.
#pragma once

#include <stdint.h>

#include <string>

namespace atd::sim {

// "EV_ABS"; "?" for a type without a name here.
const char* event_type_name(uint16_t type);

// "ABS_MT_POSITION_X"; "?" for a code without a name here.
const char* event_code_name(uint16_t type, uint16_t code);

// The code of a name of the given type; -1 where there is none.
int event_code(uint16_t type, const std::string& name);

}  // namespace atd::sim
