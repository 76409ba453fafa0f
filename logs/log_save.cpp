#include "logs/log_save.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#include "logs/log_copy.h"
#include "logs/log_folders.h"
#include "logs/zip_maker.h"
#include "platform/log.h"
#include "platform/os.h"
#include "storage/card.h"
#include "storage/card_test.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char kInternal[] = "/data/factory/logsave/";
constexpr char kNvDump[] = "nvdump";

constexpr size_t kDateSize = 30;
constexpr size_t kIdSize = 92;
constexpr size_t kExternalPathSize = 110;
constexpr size_t kCommandSize = 1000;

struct Source {
  const char* const* folder;
  const char* internal_name;
  const char* external_name;
};

// The hosts know the folders of the two kinds of saves by these different names.
constexpr Source kSources[] = {
    {&LOGGER_DIR, "logger", "logger"},          {&ANR_DIR, "anr", "anr"},
    {&DONTPANIC_DIR, "dontpanic", "dontpanic"}, {&TOMBSTONES_DIR, "tombstons", "tombstones"},
    {&DBDUMP_DIR, "dbdump", "dbdump"},          {&MTS_DIR, "mts", "mts"},
    {&NVDUMP_DIR, "nvdump", "nvdump"},          {&TOUCH_DIR, "touch", "touch"},
    {&ENCRYPT_DIR, "encryption", "encrypt"},
};

constexpr const char* kLogBuffers[] = {"main", "system", "radio", "events"};

// Copies a folder of logs to the folder `name` of `base`, which ends in "/", or to `base` itself without a name.
void copy_source(const char* folder, const char* base, const char* name) {
  char source[64], destination[PATH_MAX];
  TextWriter(source).text(folder);
  TextWriter writer(destination);
  writer.text(base);
  if (name) writer.text(name).put('/');
  copy_log(destination, source);
}

void run_tool(const char* command) {
  if (os_system(command) != 0) SLOGE("[logsave] Error : %s\n", command);
}

// Saves the log buffers, the kernel's log and the properties; false when there is no memory.
bool capture(const char* target, const char* date) {
  char* command = static_cast<char*>(malloc(kCommandSize));
  if (!command) return false;
  for (const char* buffer : kLogBuffers) {
    SLOGI("Save %s log to %s%s/%s.log\n", buffer, target, date, buffer);
    TextWriter(command, kCommandSize)
        .format("/system/bin/logcat -d -v time -b %s -f %s%s/%s.log -n 4 -r 4096", buffer, target, date, buffer);
    run_tool(command);
  }
  SLOGI("Save kernel log to %s%s/%s\n", target, date, "kernel.log");
  TextWriter(command, kCommandSize).format("/system/bin/dmesg > %s%s/kernel.log", target, date);
  run_tool(command);
  SLOGI("Save prop log to %s%s/%s\n", target, date, "property.log");
  TextWriter(command, kCommandSize).format("/system/bin/getprop > %s%s/property.log", target, date);
  run_tool(command);
  free(command);
  return true;
}

int save_internally(const char* date) {
  SLOGI("Save to INTERNAL SD\n");
  char base[sizeof kInternal + kDateSize];
  TextWriter(base).format("%s%s/", kInternal, date);
  mkdir(device_path(base), 0755);
  SLOGI("logsave: dir=%s", base);
  for (const Source& source : kSources) copy_source(*source.folder, base, source.internal_name);
  if (!capture(kInternal, date)) return 1;
  // The archive lies below the working folder, which is "/" on the phone. Its maker changes the folder's text.
  char archive[] = "data/factory/logsave.zip", folder[sizeof kInternal];
  TextWriter(folder).text(kInternal);
  if (logsave_makezip(archive, folder) == 1) return 1;
  os_sync();
  return 0;
}

int save_externally(const char* target, const char* date) {
  SLOGI("Save to EXTERNAL SD\n");
  char base[PATH_MAX - 32];
  TextWriter writer(base);
  writer.format("%s/%s/", target, date);
  if (writer.cut()) {
    SLOGE("[logsave] Error : Too long a path : %s\n", target);
    return 1;
  }
  mkdir(device_path(base), 0755);
  for (const Source& source : kSources) copy_source(*source.folder, base, source.external_name);
  return 0;
}

int save_nv_dump(const char* target) {
  SLOGI("Save to NVDUMP SD\n");
  char base[PATH_MAX];
  TextWriter writer(base);
  writer.text(target);
  // Without it, the names would lie beside the target.
  if (target[strlen(target) - 1] != '/') writer.put('/');
  if (writer.cut()) SLOGE("[logsave] Error : Too long a path : %s\n", target);
  else copy_source(NVDUMP_DIR, base, nullptr);
  return 0;
}

}  // namespace

void set_directory_name(char* out) {
  struct timespec now = {};
  os_clock_gettime(CLOCK_REALTIME, &now);
  struct tm local = {};
  tzset();
  localtime_r(&now.tv_sec, &local);
  if (strftime(out, kDateSize, "%Y%m%d_%H%M%S", &local) == 0) out[0] = '\0';
}

int get_external_logsave_path(char* out) {
  TextWriter path(out, kExternalPathSize);
  if (mmc_emt(nullptr) != 0) {
    SLOGE("[External sd log save] sdcard is not inserted");
    return 1;
  }
  char id[kIdSize];
  if (read_uuid(id) != 0) {
    SLOGE("[%s] Error : read_uuid failed\n", __func__);
    return 1;
  }
  path.format("/storage/%s/logsave", id);
  return 0;
}

int logsave(const char* target) {
  mkdir(device_path(target), 0755);
  char date[kDateSize];
  set_directory_name(date);
  SLOGI("saving date : %s\n", date);
  if (strcmp(target, kInternal) == 0) return save_internally(date);
  if (strstr(target, kNvDump)) return save_nv_dump(target);
  // Without the "/" at the end: hosts give other names, too.
  if (strncmp(target, "/storage/", 7) == 0) return save_externally(target, date);
  SLOGE("unknown sdcard...\n");
  return 1;
}

int logsave_makezip(char* archive, char* folder) {
  SLOGI("LOGSAVE : szFilename = %s szIncludeFolder = %s\n", archive, folder);
  MakeZipFile zip;
  if (zip.OpenZip(archive) != 1) {
    SLOGE("%s: Error Opening Zip file (%s)", __func__, archive);
    return 1;
  }
  const bool failed = zip.FolderToZip(folder, 1) == 1;
  if (failed) SLOGE("%s: Error Opening Directory (%s)", __func__, folder);
  zip.CloseZip();
  return failed ? 1 : 0;
}
