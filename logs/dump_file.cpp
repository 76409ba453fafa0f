#include "logs/dump_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
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

bool close_dump(FILE* dump) {
  const bool failed = ferror(dump) != 0;
  if (fclose(dump) == 0 && !failed) return true;
  SLOGE("[%s] the dump is not complete : %s\n", __func__, strerror(errno));
  return false;
}

}  // namespace atd
