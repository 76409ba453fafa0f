#include "storage/capacity.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "platform/log.h"
#include "platform/os.h"
#include "storage/card_path.h"
#include "storage/storage_handlers.h"
#include "storage/tree_walk.h"
#include "text/node.h"
#include "text/text_writer.h"
#include "transport/response.h"

using namespace atd;

namespace {

constexpr size_t kSizeText = 21;
constexpr size_t kMegabyteText = 11;

// Names that are left out wherever they stand.
constexpr const char* kSkippedNames[] = {"LOST.DIR", "Android", "RZBackup", ".android_secure"};

// The log tells whether these hold anything.
constexpr const char* kCameraFolders[] = {"/DCIM", "/DCIM/Camera"};

bool is_skipped(const char* name) {
  for (const char* row : kSkippedNames) {
    if (strcmp(row, name) == 0) return true;
  }
  return false;
}

// The sum of the files below a folder, -1 when something there cannot be looked at.
int64_t size_below(const char* who, const char* path) {
  TreeWalk walk(who, path);
  if (!walk.is_open()) return -1;
  int64_t total = 0;
  for (TreeWalk::Step step; (step = walk.next()) != TreeWalk::Step::end;) {
    if (step == TreeWalk::Step::failed) return -1;
    if (step == TreeWalk::Step::skipped || is_skipped(walk.name())) continue;
    if (step == TreeWalk::Step::folder) {
      if (walk.enter() == TreeWalk::Entered::failed) return -1;
      continue;
    }
    struct stat status;
    if (fstatat(walk.folder(), walk.name(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      SLOGE("invalid path name. %s\n", walk.path());
      return -1;
    }
    total += status.st_size;
  }
  return total;
}

// Reads a node's number of sectors; -1 when it has none.
int64_t read_sectors(const char* node) {
  char text[32];
  if (read_node(node, text, sizeof text) < 0) return -1;
  char* end;
  errno = 0;
  const long long sectors = strtoll(text, &end, 10);
  return end == text || errno != 0 || sectors < 0 ? -1 : sectors;
}

// Sectors have 512 bytes.
unsigned megabytes(int64_t sectors) { return static_cast<unsigned>(sectors >> 11); }

}  // namespace

int mmc_mmctotalsize(char* out) {
  TextWriter writer(out, kSizeText);
  char mount_point[kCardPathSize];
  if (!card_path("", mount_point) || !require_mounted(__func__)) return 1;
  struct statfs status;
  if (os_statfs(mount_point, &status) != 0) {
    SLOGE("[%s] Test Failed to get file system information (errno %d)", __func__, errno);
    return 1;
  }
  const unsigned long long block_size = static_cast<unsigned long long>(status.f_bsize);
  const unsigned long long blocks = status.f_blocks;
  // A block may be smaller than 1 KiB.
  const unsigned long long total = block_size % 1024 == 0 ? block_size / 1024 * blocks : block_size * blocks / 1024;
  SLOGI("[%s] 250-23-1 : SUCCESS! Block Size: %llu, Block count : %llu Total Size: %llu KB \n", __func__,
        block_size / 1024, blocks, total);
  writer.format("%llu", total);
  return 0;
}

int mmc_mmcusedsize(char* out) {
  TextWriter writer(out, kSizeText);
  char mount_point[kCardPathSize];
  if (!require_mounted(__func__) || !card_path("", mount_point)) return 1;
  const long long size = recursive_dir_check(mount_point);
  if (size < 0) {
    SLOGE("[%s] Error : recursive_dir_check fail", __func__);
    return 1;
  }
  writer.format("%lld", size);
  return 0;
}

int64_t recursive_dir_check(const char* path) {
  struct stat status;
  if (stat(device_path(path), &status) != 0) {
    SLOGE("invalid path name. %s\n", path);
    return -1;
  }
  if (!S_ISDIR(status.st_mode)) return status.st_size;
  for (const char* name : kCameraFolders) {
    char folder[PATH_MAX];
    TextWriter writer(folder);
    writer.format("%s%s", path, name);
    if (!writer.cut()) SLOGI("[%s] %s : %d\n", __func__, folder, is_empty_dir(folder));
  }
  return size_below(__func__, path);
}

int is_empty_dir(const char* path) {
  Folder folder(path);
  if (!folder.is_open()) return -1;
  return folder.next() ? 1 : 0;
}

int mmc_emmccapacity(char* out) {
  TextWriter writer(out, kMegabyteText);
  const long long sectors = read_sectors("/sys/block/mmcblk0/size");
  if (sectors < 0) {
    SLOGE("[%s] Test failed to get EMMC_SIZE (result %d)\n", __func__, -1);
    return 1;
  }
  SLOGI("[%s] sec_cnt = %lld\n", __func__, sectors);
  SLOGI("[%s] size_mb = %u\n", __func__, megabytes(sectors));
  writer.format("%u", megabytes(sectors));
  return 0;
}

int mmc_ufscapacity(char* out) {
  TextWriter writer(out, kMegabyteText);
  SLOGI("[%s] 250-38-3 : START!\n", __func__);
  unsigned total = 0;
  for (int unit = 0; unit < 8; ++unit) {
    char node[32];
    TextWriter(node).format("/sys/block/sd%c/size", 'a' + unit);
    const int64_t sectors = read_sectors(node);
    const unsigned size = sectors < 0 ? 0 : megabytes(sectors);
    SLOGI("[%s] lun%d sd%c: size_mb = %u\n", __func__, unit, 'a' + unit, size);
    total += size;
  }
  SLOGI("[%s] ufs: size_mb = %u\n", __func__, total);
  writer.format("%u", total);
  return 0;
}

int mmc_storage_isufs() {
  char command_line[4096];
  if (read_node("/proc/cmdline", command_line, sizeof command_line) < 0) {
    SLOGE("bootdevice : Can not read command line.\n");
    return 0;
  }
  constexpr char kBootDevice[] = "androidboot.bootdevice=";
  char* rest;
  const char* word = strtok_r(command_line, " \n", &rest);
  while (word && strncmp(word, kBootDevice, strlen(kBootDevice)) != 0) word = strtok_r(nullptr, " \n", &rest);
  if (!word) {
    SLOGE("bootdevice : Can not find bootdevice.\n");
    return 0;
  }
  if (strstr(word, "ufshc")) {
    SLOGI("storage Type : UFS\n");
    return 1;
  }
  if (strstr(word, "sdhci")) SLOGI("storage Type : eMMC\n");
  else SLOGE("storage Type : Can not match ufshc or sdhci device\n");
  return 0;
}

int ram_memory_size() {
  constexpr char kTotal[] = "MemTotal:";
  char text[4096];
  if (read_node("/proc/meminfo", text, sizeof text) < 0) SLOGE("cannot read /proc/meminfo");
  char* line = text;
  while (line && strncmp(line, kTotal, strlen(kTotal)) != 0) {
    line = strchr(line, '\n');
    if (line) ++line;
  }
  if (!line) {
    SLOGE("/proc/meminfo has no %s", kTotal);
    return 0;
  }
  char* number = line + strlen(kTotal);
  number += strspn(number, " \t");
  number[strspn(number, "0123456789")] = '\0';
  SLOGI("ram size %s \n", number);
  const long long size = strtoll(number, nullptr, 10) >> 10;
  return size <= INT_MAX ? static_cast<int>(size) : 0;
}

namespace atd {

void handle_get_ram_size(rzcmd_response* rsp) {
  const int size = ram_memory_size();
  char text[12];
  TextWriter(text).format("%d", size);
  respond_text(rsp, text, size == 0 ? RZCMD_FAIL : RZCMD_OK);
}

}  // namespace atd
