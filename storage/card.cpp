#include "storage/card.h"

#include <mntent.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "storage/card_path.h"
#include "storage/card_test.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr size_t kIdSize = PROPERTY_VALUE_MAX;
constexpr size_t kFolderSize = 102;
constexpr char kIdProperty[] = "vold.publicvolume_uuid";
constexpr char kMounts[] = "/proc/mounts";

// An id becomes a part of paths that are written to and deleted.
bool is_valid(const char* id) {
  constexpr char kAllowed[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.";
  return id[strspn(id, kAllowed)] == '\0' && strcmp(id, ".") != 0 && strcmp(id, "..") != 0;
}

}  // namespace

int read_uuid(char* dst) {
  char id[kIdSize];
  dst[0] = '\0';
  if (system_property_get(kIdProperty, id) <= 0) {
    if (system_property_is_set(kIdProperty)) SLOGE("vold.publicvolume_uuid is NULL");
    else SLOGE("Finish read_uuid failed\n");
    return -1;
  }
  if (!is_valid(id)) {
    SLOGE("[%s] Error : \"%s\" is no volume id\n", __func__, id);
    return -1;
  }
  TextWriter(dst, kIdSize).text(id);
  SLOGI("Finish read_uuid success\n");
  return 0;
}

int get_sdcard_path(char* out) {
  out[0] = '\0';
  if (mmc_emt(nullptr) != 0) {
    SLOGE("[External sd log save] sdcard is not inserted");
    return 1;
  }
  char id[kIdSize];
  if (read_uuid(id) != 0) {
    SLOGE("[%s] Error : read_uuid failed\n", __func__);
    return 1;
  }
  TextWriter(out, kFolderSize).format("/storage/%s/", id);
  return 0;
}

int IsSDCardInserted() {
  if (access(device_path(kCardDevice), F_OK) == 0) return 0;
  SLOGE("[%s] Error : Can not access %s\n", __func__, kCardDevice);
  return -1;
}

int GetSDCardMountStatus() {
  char mount_point[kCardPathSize];
  if (!card_path("", mount_point)) return -1;
  FILE* mounts = fopen(device_path(kMounts), "re");
  if (!mounts) {
    SLOGE("[%s] Error : Can not open file %s\n", __func__, kMounts);
    return -1;
  }
  struct mntent mount;
  char line[4096];
  bool found = false;
  while (!found && getmntent_r(mounts, &mount, line, sizeof line)) found = strcmp(mount.mnt_dir, mount_point) == 0;
  fclose(mounts);
  if (!found) return -1;
  SLOGI("[%s] Sucess : Find sdcard mount point at %s\n", __func__, mount_point);
  SLOGI("[%s] Info : already mounted sdcard %s\n", __func__, mount_point);
  return 0;
}

namespace atd {

bool card_path(const char* name, char (&path)[kCardPathSize]) {
  char id[kIdSize];
  if (read_uuid(id) != 0) return false;
  TextWriter(path).format("/storage/%s%s", id, name);
  return true;
}

bool require_mounted(const char* who) {
  const int result = GetSDCardMountStatus();
  if (result == 0) return true;
  SLOGE("[%s] Test Failed to get SD Card Mount status (result %d)", who, result);
  return false;
}

}  // namespace atd
