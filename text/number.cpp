#include "text/number.h"

#include <errno.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>

namespace atd {

bool parse_number(const char* text, int* number) {
  const char* digits = text + strspn(text, " ");
  if (*digits == '+' || *digits == '-') ++digits;
  if (*digits < '0' || *digits > '9') return false;
  char* end;
  errno = 0;
  const long long value = strtoll(text, &end, 10);
  if (errno != 0 || value < INT_MIN || value > INT_MAX) return false;
  *number = static_cast<int>(value);
  return end[strspn(end, " \r\n")] == '\0';
}

int leading_number(const char* text) {
  const long long value = strtoll(text, nullptr, 10);
  return static_cast<int>(value < INT_MIN ? INT_MIN : value > INT_MAX ? INT_MAX : value);
}

}  // namespace atd
