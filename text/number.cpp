#include "text/number.h"

#include <stdlib.h>

namespace atd {

bool parse_number(const char* text, int* number) {
  char* end;
  *number = static_cast<int>(strtol(text, &end, 10));
  return end != text && *end == '\0';
}

}  // namespace atd
