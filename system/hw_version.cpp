#include "system/hw_version.h"

#include <stddef.h>
#include <string.h>

#include "platform/log.h"
#include "text/node.h"
#include "text/text_writer.h"

namespace {

constexpr char kReserved[] = "tav.rev=reserved";
constexpr char kRevision[] = "tav.rev=";
constexpr char kBoardRevision[] = "board_rev=";

// The revision in a command line, cut out of it; null where there is none.
char* find_revision(char* line) {
  char* value = strstr(line, kRevision);
  if (value) {
    value += sizeof kRevision - 1;
  } else if ((value = strstr(line, kBoardRevision))) {
    SLOGI("data : board_rev....\n");
    value += sizeof kBoardRevision - 1;
  } else {
    SLOGE("No data : tav.rev or board_rev is nothing!");
    return nullptr;
  }
  value[strcspn(value, " ")] = '\0';
  if (*value) return value;
  SLOGE("No data : hw_rev_data\n");
  return nullptr;
}

}  // namespace

int get_tav_hw_version(char* out, int* length) {
  atd::TextWriter version(out, 6);
  *length = 0;
  char line[1024];
  if (atd::read_node("/proc/cmdline", line, sizeof line) < 0) {
    SLOGE("set_hw_revision : Can not read command line.\n");
    return 1;
  }
  if (strstr(line, kReserved)) return 1;
  const char* revision = find_revision(line);
  if (!revision) return 1;
  SLOGI("hw_rev : %s\n", revision);
  // The first four characters are "rev_", but for the evaluation boards' "evb".
  const size_t size = strlen(revision);
  const char* number = revision + (size < 4 ? size : 4);
  if (*number == '1') version.text("1.").bytes(number + 1, strnlen(number + 1, 1));
  else if (strncmp(revision, "evb", 3) == 0) version.bytes(revision + 3, strnlen(revision + 3, 1));
  else version.text("0.").bytes(number, strnlen(number, 3));
  *length = static_cast<int>(version.length());
  return 0;
}
