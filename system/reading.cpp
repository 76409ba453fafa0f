#include "system/reading.h"

#include "platform/log.h"
#include "platform/node_access.h"
#include "text/number.h"

namespace atd {

int read_or_complain(const char* node, const char* complaint, char* text, int size) {
  const int rt = unified_sysfs_read(node, text, size);
  if (rt >= 0) return 0;
  SLOGE("%s%d\n", complaint, rt);
  return 1;
}

int read_text(const char* node, const char* function, char* text, int size) {
  const int rt = unified_sysfs_read(node, text, size);
  if (rt >= 0) return 0;
  SLOGE("%s:fail to read %s rt:%d\n", function, node, rt);
  return 1;
}

int read_value(const char* node, const char* function, int* number) {
  char text[10 + 1];
  if (read_text(node, function, text, sizeof text) != 0) return 1;
  *number = leading_number(text);
  return 0;
}

}  // namespace atd
