#include "logs/dump_file.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/os.h"

namespace atd {

FILE* open_dump(const char* path) {
  unlink(device_entry(path));
  const int fd = open(device_path(path), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644);
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
