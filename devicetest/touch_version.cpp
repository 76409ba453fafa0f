#include "devicetest/touch_version.h"

#include <limits.h>
#include <string.h>

#include "platform/log.h"
#include "text/node.h"

namespace {

constexpr char kVersionNode[] = "/sys/devices/virtual/input/tav_touch/testmode_ver";

}  // namespace

int get_touch_version(char* out, int* len) {
  const int length = atd::read_node(kVersionNode, out, 70);
  if (length < 0) SLOGE("get_touch_version : cannot read %s", kVersionNode);
  *len = length < 0 ? 0 : length;
  return 0;
}

int touch_version_compare(const char* expected) {
  char version[20];
  const size_t length = strlen(expected);
  if (atd::read_node(kVersionNode, version, sizeof version) < 0) {
    SLOGE("touch_version_compare : cannot read %s", kVersionNode);
    return 1;
  }
  return length > 0 && strncmp(version, expected, length - 1) == 0 ? 0 : 1;
}

int touch_atoi(const char* text) {
  long long number = 0;
  for (; *text >= '0' && *text <= '9' && number <= INT_MAX; ++text) number = number * 10 + (*text - '0');
  return static_cast<int>(number > INT_MAX ? INT_MAX : number);
}
