#include "logs/log_copy.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "logs/copy_guard.h"
#include "logs/line_copy.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/file.h"
#include "text/folder.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char kWho[] = "copy_log";

// An entry's path in the source is cut at this size, terminator included.
constexpr size_t kSourceSize = 256;

bool is_same(int fd, int other) {
  struct stat one, two;
  return fstat(fd, &one) == 0 && fstat(other, &two) == 0 && one.st_dev == two.st_dev && one.st_ino == two.st_ino;
}

// A copy from folder to folder. Both paths end in "/".
class LogCopy {
 public:
  void run(const CopyLevel* outer);

  WalkPath<PATH_MAX> source, destination;

 private:
  void copy_entry(const struct dirent& entry, const CopyLevel& level);
  void copy_file(const char* from);
};

void LogCopy::run(const CopyLevel* outer) {
  CopyLevel level(outer, source.text(), destination.text());
  if (level.goes_round()) {
    SLOGE("[%s] Error : %s leads into the copy\n", kWho, source.text());
  } else {
    if (mkdir(device_path(destination.text()), 0777) != 0 && errno != EEXIST) {
      SLOGE("[%s] Error : Can not make %s. errno %d(%s)\n", kWho, destination.text(), errno, strerror(errno));
    }
    level.made(destination.text());
    Folder folder(source.text());
    if (!folder.is_open()) SLOGE("%s: do not open src file!!! : %s\n", kWho, source.text());
    while (const struct dirent* entry = folder.next()) copy_entry(*entry, level);
  }
  SLOGI("from %s to %s copy done!!!\n", source.text(), destination.text());
}

void LogCopy::copy_entry(const struct dirent& entry, const CopyLevel& level) {
  // What is none of these would block, or have no end.
  if (entry.d_type != DT_REG && entry.d_type != DT_DIR && entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return;
  const size_t source_length = source.length(), destination_length = destination.length();
  char path[kSourceSize];
  TextWriter(path).text(source.text()).text(entry.d_name);
  const bool is_folder = entry.d_type != DT_REG && Folder(path).is_open();
  // In a folder whose path is that long, every entry's would be cut to the folder's own.
  const bool fits = source.add(entry.d_name) && destination.add(entry.d_name) &&
                    (!is_folder || (source.length() < kSourceSize - 1 && destination.length() < PATH_MAX - 1));
  if (!fits) {
    source.shrink(source_length);
    SLOGE("[%s] Error : Too long a path : %s in %s\n", kWho, entry.d_name, source.text());
  } else if (!is_folder) {
    copy_file(path);
  } else if (is_link(destination.text())) {
    SLOGE("[%s] Error : %s is a link\n", kWho, destination.text());
  } else {
    source.add("/");
    destination.add("/");
    run(&level);
  }
  source.shrink(source_length);
  destination.shrink(destination_length);
}

void LogCopy::copy_file(const char* from) {
  const int in = open_file(from);
  if (in < 0) return;
  const int out = open_target(destination.text(), 0, 0666);
  // A link may have led from the source to the destination.
  if (out >= 0 && !is_same(in, out) && (ftruncate(out, 0) != 0 || copy_lines(in, out) != 0)) {
    SLOGE("[%s] Error : Can not copy %s. errno %d(%s)\n", kWho, from, errno, strerror(errno));
  }
  close(in);
  if (out >= 0) close(out);
}

}  // namespace

void copy_log(char* destination, char* source) {
  LogCopy copy;
  if (!copy.source.add(source) || !copy.destination.add(destination)) {
    SLOGE("[%s] Error : Too long a path : %s\n", kWho, source);
    return;
  }
  copy.run(nullptr);
}
