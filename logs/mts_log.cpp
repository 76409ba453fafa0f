#include "logs/mts_log.h"

#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include <initializer_list>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "logs/file_copy.h"
#include "logs/log_erase.h"
#include "logs/log_folders.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "system/board.h"
#include "text/file.h"
#include "text/number.h"
#include "text/prefix.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char kArchive[] = "/data/mtslogsave.zip";
constexpr size_t kPlaceSize = 64;
constexpr int kNameMax = 31;

// The last part of a path without the slashes behind it; "dummy" for a path that has none.
struct LastPart {
  const char* text = "dummy";
  size_t length = 5;

  explicit LastPart(const char* path) {
    for (path += strspn(path, "/"); *path; path += strspn(path, "/")) {
      text = path;
      length = strcspn(path, "/");
      path += length;
    }
  }

  bool is(const char* other) const { return length == strlen(other) && memcmp(text, other, length) == 0; }
};

// Makes the folder of the present number, which mts_log_erase removes, too; false with errno for a link in its place.
bool make_numbered_folder(const char* place) {
  mkdir(device_path(MTS_DIR), 0777);
  char folder[kPlaceSize];
  TextWriter(folder).bytes(place, static_cast<size_t>(strrchr(place, '/') - place));
  mkdir(device_path(folder), 0777);
  errno = ELOOP;
  return !is_link(folder);
}

// Whether clearing the place of a copy leaves its source alone; false with errno.
bool may_clear(const char* place, const char* source, const struct stat& status) {
  struct stat there;
  const bool is_itself =
      stat(device_path(place), &there) == 0 && there.st_dev == status.st_dev && there.st_ino == status.st_ino;
  const LastPart name(source);
  errno = EINVAL;
  // The place of "." and ".." would be the folder of all copies.
  return !is_itself && !begins_with(source, place) && !name.is("..") && !name.is(".");
}

bool is_active() {
  char value[PROPERTY_VALUE_MAX] = "";
  system_property_get("mts.act", value);
  return value[0] == '1';
}

}  // namespace

void cap_screen() {
  char now[30], command[128];
  get_rtc_time(now);
  SLOGI("mts_time: %s\n", now);
  // The names have always begun with "_".
  TextWriter(command).format("screencap %s_%s_%s.png", MTS_DIR, "mts_screen_cap", now);
  if (os_system(command) != 0) SLOGE("[cap_screen] Error : %s\n", command);
}

int set_dest_path(const char* source, char* out) {
  char count[PROPERTY_VALUE_MAX] = "";
  system_property_get("mts.curcount", count);
  const LastPart name(source);
  TextWriter(out, kPlaceSize)
      .format("%slog_%05d/%.*s", MTS_DIR, leading_number(count),
              name.length < kNameMax ? static_cast<int>(name.length) : kNameMax, name.text);
  return 0;
}

int clear_dest(const char* path) {
  struct stat status;
  if (lstat(device_entry(path), &status) != 0) return 0;
  if (S_ISREG(status.st_mode) || S_ISLNK(status.st_mode)) {
    remove(device_entry(path));
    SLOGI("removed file: %s", path);
  } else if (S_ISDIR(status.st_mode)) {
    Delete_Folder(path);
    SLOGI("removed dir: %s", path);
  }
  return 0;
}

int copy_latest(const char* source) {
  struct stat status;
  char place[kPlaceSize];
  set_dest_path(source, place);
  if (stat(device_path(source), &status) != 0 || !may_clear(place, source, status) || !make_numbered_folder(place)) {
    SLOGE("failed to copy %s. (%s)", source, strerror(errno));
    return -1;
  }
  clear_dest(place);
  if (S_ISDIR(status.st_mode)) copy_dir(source, place);
  else copy_file(source, place);
  SLOGI("%s is copied in mtslog.", source);
  return 0;
}

int copy_to_mtslog() {
  for (const char* source : {"/data/dontpanic", "/data/ramoops", "/data/tombstones"}) copy_latest(source);
  return 0;
}

int mts_log_makezip(const char* name, int kind) {
  SLOGI("MTS LOG Make Zip Entered\n");
  copy_to_mtslog();
  const int opcode = kind == 4 ? kMtsArchive4 : kind == 5 ? kMtsArchive5 : kMtsArchive;
  const size_t length = strlen(name);
  return request_to_system(opcode, name, length < INT_MAX ? static_cast<int>(length) : INT_MAX, nullptr, nullptr,
                           nullptr);
}

void mts_log_erase() {
  Delete_Folder(MTS_DIR);
  SLOGI("delete /data/mtslog/\n");
  remove(device_entry(kArchive));
  SLOGI("delete /data/mtslogsave.zip\n");
  os_sync();
}

int mts_log_on() {
  SLOGI("MTS_LOG_ON\n");
  if (!is_active()) {
    // Stations look for this spelling; mts_log_off has another one.
    SLOGE("MTS_LOG_FIAL\n");
    return 1;
  }
  SLOGI("MTS_LOG_OK\n");
  return 0;
}

int mts_log_off() {
  SLOGI("MTS_LOG_OFF\n");
  if (!is_active()) {
    SLOGE("MTS_LOG_FAIL\n");
    return 1;
  }
  SLOGI("MTS_LOG_OK\n");
  return 0;
}

int mts_get_status(int* out) {
  SLOGI("MTS_LOG_Status_Check\n");
  char value[PROPERTY_VALUE_MAX] = "";
  system_property_get("sys.mts.work", value);
  SLOGI("MTS Status is : %c\n", value[0]);
  const bool known = value[0] == '0' || value[0] == '1';
  *out = known ? value[0] - '0' : 2;
  return known ? 0 : 2;
}
