#include "logs/file_copy.h"

#include <dirent.h>
#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "logs/copy_guard.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/file.h"
#include "text/folder.h"

using namespace atd;

namespace {

constexpr size_t kBlock = 8192;
constexpr size_t kPathSize = 512;

// Copies what follows in a file; false, with the failure reported, when that cannot be read or written.
bool copy_blocks(int in, int out, const char* source) {
  char block[kBlock];
  while (const size_t got = read_up_to(in, block, sizeof block)) {
    const int error = errno;
    if (!write_all(out, block, got)) {
      SLOGE("copy failed. write error from (%s)", source);
      return false;
    }
    errno = error;
    if (error != 0) break;
  }
  if (errno == 0) return true;
  SLOGE("copy failed. read error from (%s)", source);
  return false;
}

// A copy from folder to folder.
class FolderCopy {
 public:
  void run(const CopyLevel* outer);

  WalkPath<kPathSize> source, destination;

 private:
  void copy_entry(const struct dirent& entry, const CopyLevel& level);
};

void FolderCopy::run(const CopyLevel* outer) {
  SLOGI("copy dir: %s -> %s", source.text(), destination.text());
  CopyLevel level(outer, source.text(), destination.text());
  if (level.goes_round()) {
    SLOGE("[copy_dir] Error : %s leads into the copy\n", source.text());
    return;
  }
  mkdir(device_path(destination.text()), 0777);
  level.made(destination.text());
  Folder folder(source.text());
  while (const struct dirent* entry = folder.next()) copy_entry(*entry, level);
}

void FolderCopy::copy_entry(const struct dirent& entry, const CopyLevel& level) {
  const size_t source_length = source.length(), destination_length = destination.length();
  struct stat status;
  if (!source.add_name(entry.d_name) || !destination.add_name(entry.d_name)) {
    source.shrink(source_length);
    SLOGE("[copy_dir] Error : Too long a path : %s in %s\n", entry.d_name, source.text());
  } else if (stat(device_path(source.text()), &status) == 0) {
    if (S_ISREG(status.st_mode)) copy_file(source.text(), destination.text());
    else if (S_ISDIR(status.st_mode) && is_link(destination.text()))
      SLOGE("[copy_dir] Error : %s is a link\n", destination.text());
    else if (S_ISDIR(status.st_mode)) run(&level);
  }
  source.shrink(source_length);
  destination.shrink(destination_length);
}

}  // namespace

int copy_file(const char* source, const char* destination) {
  SLOGI("copy file: %s -> %s", source, destination);
  const int in = open_file(source);
  if (in < 0) {
    SLOGE("copy failed. src %s open failed (%s)", source, strerror(errno));
    return -1;
  }
  // What was in the file before stays behind its end, and nobody but root reads the copy: so it has always been.
  const int out = open_target(destination, 0, 0222);
  if (out < 0) {
    SLOGE("copy failed. dest %s open failed (%s)", destination, strerror(errno));
    close(in);
    return -1;
  }
  const bool done = copy_blocks(in, out, source);
  close(in);
  close(out);
  return done ? 0 : -1;
}

int copy_dir(const char* source, const char* destination) {
  FolderCopy copy;
  if (!copy.source.add(source) || !copy.destination.add(destination)) {
    SLOGE("[copy_dir] Error : Too long a path : %s\n", source);
    return 0;
  }
  copy.run(nullptr);
  return 0;
}
