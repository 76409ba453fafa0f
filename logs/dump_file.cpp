#include "logs/dump_file.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/log.h"
#include "text/file.h"

namespace atd {

FILE* open_dump(const char* path) {
  const int fd = open_new(path, O_WRONLY);
  if (fd < 0) return nullptr;
  FILE* dump = fdopen(fd, "w");
  if (!dump) close(fd);
  return dump;
}

void close_dump(FILE* dump) {
  const bool failed = ferror(dump) != 0;
  if (fclose(dump) != 0 || failed) SLOGE("[%s] Error : The dump is not complete\n", __func__);
}

}  // namespace atd
