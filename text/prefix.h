// How a text begins.
#pragma once

#include <string.h>

namespace atd {

inline bool begins_with(const char* text, const char* beginning) {
  return strncmp(text, beginning, strlen(beginning)) == 0;
}

}  // namespace atd
