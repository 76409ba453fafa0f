#include "devicetest/touch_version.h"

#include <limits.h>
#include <stdio.h>
#include <string.h>

#include "platform/log.h"
#include "platform/os.h"

namespace {

// Reads the node's text as it stands, line end included; false with the empty text when it cannot be read.
bool read_version(const char* caller, char* text, size_t size) {
  FILE* node = fopen(atd::device_path("/sys/devices/virtual/input/tav_touch/testmode_ver"), "re");
  const size_t length = node ? fread(text, 1, size - 1, node) : 0;
  text[length] = '\0';
  if (!node) SLOGE("%s : cannot read the touch version", caller);
  else fclose(node);
  return node != nullptr;
}

}  // namespace

int get_touch_version(char* out, int* len) {
  read_version(__func__, out, 70);
  *len = static_cast<int>(strlen(out));
  return 0;
}

int touch_version_compare(const char* expected) {
  char version[20];
  const size_t length = strlen(expected);
  if (!read_version(__func__, version, sizeof version)) return 1;
  return length > 0 && strncmp(version, expected, length - 1) == 0 ? 0 : 1;
}

int touch_atoi(const char* text) {
  long long number = 0;
  for (; *text >= '0' && *text <= '9' && number <= INT_MAX; ++text) number = number * 10 + (*text - '0');
  return static_cast<int>(number > INT_MAX ? INT_MAX : number);
}
