// What the phone shows of the card that is in: nodes, mounts, sizes, and what a file call on it meets.
#include <android/log.h>
#include <errno.h>
#include <linux/magic.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "simulator/card/card.h"

namespace atd::sim {

namespace {

constexpr int kBlock = 32768;  // bytes of a cluster
constexpr char kMountedDevice[] = "/dev/block/vold/";

// Places where not even root can make, remove or rename anything. What is there is of the same kind as what it stands
// in for, because a call that walks through folders looks at that first.
constexpr char kNothingCanBeMade[] = "/sys/kernel/atd";
constexpr char kFolderThatStays[] = "/sys/kernel";
constexpr char kFileThatStays[] = "/sys/kernel/uevent_seqnum";
constexpr char kFileThatTakesNothing[] = "/dev/full";

bool is_below(const std::string& place, const std::string& folder) {
  return place.size() > folder.size() + 1 && place.starts_with(folder) && place[folder.size()] == '/';
}

}  // namespace

std::string without_card(const std::string& mounts) {
  std::string rest;
  std::istringstream lines(mounts);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(kMountedDevice)) rest += line + "\n";
  }
  return rest;
}

void Card::log(const std::string& what) const {
  __android_log_print(ANDROID_LOG_ERROR, "card", "%s: %s", what.c_str(), strerror(errno));
}

void Card::show_locked() {
  const bool device = !state_.name.empty() && !state_.dummy;
  const std::string sectors = std::to_string(int64_t{state_.size_mib} * 2048) + "\n";
  show_file_locked("/sys/devices/soc.0/7864900.sdhci/mmc_host/mmc1/cd_status", true,
                   state_.name.empty() ? "0\n" : "1\n");
  show_file_locked("/dev/block/mmcblk0", device, "");
  show_file_locked("/dev/block/mmcblk0p1", device && !state_.whole_disk, "");
  show_file_locked("/sys/block/mmcblk0/size", device, sectors);
  show_mount_locked();
}

void Card::show_file_locked(const std::string& path, bool there, const std::string& content) const {
  const std::string place = resolve(root_, path);
  if (!there) {
    if (unlink(place.c_str()) != 0 && errno != ENOENT) log(path);
    return;
  }
  std::string present;
  if (read_file(place, &present) && present == content) return;
  if (!make_folders(place.substr(0, place.rfind('/'))) || !write_file(place, content)) log(path);
}

// The other lines are left to whoever edits the file.
void Card::show_mount_locked() const {
  const std::string place = resolve(root_, "/proc/mounts");
  std::string before;
  read_file(place, &before);
  std::string after = without_card(before);
  if (state_.mounted) {
    after += kMountedDevice + state_.volume() + " /storage/" + state_.id + " vfat " +
             (state_.write_protected ? "ro" : "rw") +
             ",dirsync,nosuid,nodev,noexec,noatime,uid=1023,gid=1023,fmask=0007,dmask=0007,utf8 0 0\n";
  }
  if (before != after && !write_file(place, after)) log("/proc/mounts");
}

std::string Card::stand_in(const std::string& place, Last last) const {
  if (!guarded_) return "";
  std::lock_guard guard(lock_);
  if (!state_.mounted || !is_below(place, mounted_at_)) return "";
  struct stat file;
  if (lstat(place.c_str(), &file) == 0) {
    if (!state_.write_protected || last == Last::followed) return "";
    return S_ISDIR(file.st_mode) ? kFolderThatStays : kFileThatStays;
  }
  if (state_.write_protected) return kNothingCanBeMade;
  // In a folder that is missing, nothing can be made anyway.
  const bool parent = access(place.substr(0, place.rfind('/')).c_str(), F_OK) == 0;
  return parent && last == Last::followed ? kFileThatTakesNothing : "";
}

bool Card::measure(const std::string& place, struct statfs* result) const {
  std::lock_guard guard(lock_);
  if (!state_.mounted || (place != mounted_at_ && !is_below(place + "/.", mounted_at_))) return false;
  uint64_t used = 0;
  namespace fs = std::filesystem;
  std::error_code failed, ignored;
  fs::recursive_directory_iterator entry(mounted_at_, failed);
  for (; !failed && entry != fs::recursive_directory_iterator(); entry.increment(failed)) {
    struct stat file;
    if (lstat(entry->path().c_str(), &file) == 0 && !S_ISDIR(file.st_mode)) {
      used += (static_cast<uint64_t>(file.st_size) + kBlock - 1) / kBlock;
    }
  }
  const uint64_t blocks = (static_cast<uint64_t>(state_.size_mib) << 20) / kBlock;
  *result = {};
  result->f_type = MSDOS_SUPER_MAGIC;
  result->f_bsize = result->f_frsize = kBlock;
  result->f_blocks = blocks;
  result->f_bfree = result->f_bavail = state_.full || used > blocks ? 0 : blocks - used;
  result->f_namelen = 255;
  return true;
}

}  // namespace atd::sim
