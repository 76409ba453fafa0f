// Properties that say something with their first character.
#pragma once

namespace atd {

// The first character of a property, '0' when it is not set.
char first_character(const char* property);

}  // namespace atd
