#include "logs/log_erase.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <initializer_list>

#include "logs/log_folders.h"
#include "platform/log.h"
#include "platform/os.h"
#include "system/environment.h"
#include "text/folder.h"

using namespace atd;

namespace {

constexpr size_t kPathSize = 256;

constexpr const char* kClearBuffers[] = {
    "logcat -b main -c", "logcat -b system -c", "logcat -b radio -c", "logcat -b events -c", "logcat -b packet -c",
};

// Empties a folder whose path has this length. By descriptors, so that nobody puts a link in a folder's place.
void empty(Folder& folder, size_t length) {
  while (const struct dirent* entry = folder.next()) {
    const char* name = entry->d_name;
    const size_t entry_length = length + 1 + strlen(name);
    if (entry_length >= kPathSize) {
      SLOGE("[Delete_Folder] Error : Too long a path : %s\n", name);
      continue;
    }
    struct stat status;
    if (fstatat(folder.fd(), name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (S_ISREG(status.st_mode)) unlinkat(folder.fd(), name, 0);
    if (!S_ISDIR(status.st_mode)) continue;
    Folder child(folder.fd(), name);
    if (!child.is_open()) continue;
    empty(child, entry_length);
    unlinkat(folder.fd(), name, AT_REMOVEDIR);
  }
}

void remove_folder(const char* path) {
  Delete_Folder(path);
  SLOGI("delete %s\n", path);
}

}  // namespace

int Delete_Folder(const char* path) {
  Folder folder(path);
  if (!folder.is_open()) return -1;
  empty(folder, strlen(path));
  rmdir(device_path(path));
  return 0;
}

void logsave_erase() {
  for (const char* command : kClearBuffers) os_system(command);
  system_set_logservice(0);
  os_system("rm /data/logger/*");
  system_set_logservice(1);
  SLOGI("delete /data/logger/\n");
  for (const char* path : {ANR_DIR, DONTPANIC_DIR, TOMBSTONES_DIR, CKERROR_DIR, DBDUMP_DIR}) remove_folder(path);
  Delete_Folder(NVDUMP_DIR);
  SLOGI("delete %s.\n", NVDUMP_DIR);
  remove_folder("/data/factory/logsave/");
  remove(device_entry("data/factory/logsave.zip"));
  SLOGI("delete /data/factory/logsave.zip\n");
  os_sync();
}
