#include "simulator/card/card.h"

#include <android/log.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "desk/words.h"

namespace atd::sim {

namespace fs = std::filesystem;

namespace {

constexpr char kIdProperty[] = "vold.publicvolume_uuid";

// What a volume is, in a broadcast.
enum VolumeState {
  kIsUnmounted,
  kChecking,
  kMounted,
  kMountedReadOnly,
  kFormatting,
  kEjecting,
  kUnmountable,
  kRemoved,
  kBadRemoval
};

bool is_folder(const std::string& path) {
  struct stat file;
  return lstat(path.c_str(), &file) == 0 && S_ISDIR(file.st_mode);
}

}  // namespace

Card::Card(const std::string& root, Properties& properties, std::function<void(const std::string& text)> announce)
    : root_(root), properties_(properties), announce_(std::move(announce)) {}

CardState Card::load(const std::string& name) const {
  CardState state = new_card(name);
  CardContents unused;
  std::string text;
  if (!read_file(folder(name) + "/card", &text)) return state;
  std::replace(text.begin(), text.end(), '\n', ' ');
  std::string_view rest = text;
  for (std::string_view word; !(word = take_word(&rest)).empty();) {
    if (apply_word(word, &state, &unused)) continue;
    __android_log_print(ANDROID_LOG_ERROR, "card", "sim/cards/%s/card: \"%.*s\" is no word of a card", name.c_str(),
                        static_cast<int>(word.size()), word.data());
  }
  return state;
}

bool Card::save(const CardState& state) const {
  return make_folders(folder(state.name) + "/files") &&
         write_file(folder(state.name) + "/card", to_words(state) + "\n");
}

std::vector<std::string> Card::names() const {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(root_ + "/sim/cards", error)) {
    const std::string name = entry.path().filename();
    if (is_card_name(name) && is_folder(entry.path())) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

CardState Card::state() const {
  std::lock_guard guard(lock_);
  return state_;
}

void Card::boot() {
  std::lock_guard guard(lock_);
  for (const std::string& name : names()) {
    remove_leftovers(folder(name));
    const std::string files = folder(name) + "/files", place = resolve(root_, "/storage/" + load(name).id);
    if (is_folder(files)) continue;
    if ((!is_folder(place) || rename(place.c_str(), files.c_str()) != 0) && !make_folders(files)) log(files);
  }
  state_ = {};
  mounted_at_ = "";
  guarded_ = false;
  std::string name;
  read_file(root_ + "/sim/card", &name);
  while (name.ends_with('\n')) name.pop_back();
  if (is_card_name(name) && is_folder(folder(name))) state_ = load(name);
  show_locked();
  appear_locked();
  mount_locked();
}

bool Card::insert(const std::string& name, const std::vector<std::string>& words, std::string* error) {
  std::string ignored;
  if (!error) error = &ignored;
  if (!is_card_name(name)) {
    *error = "\"" + name + "\" is no name of a card: write letters, digits, - and _, at most 32";
    return false;
  }
  std::lock_guard guard(lock_);
  CardState state = load(name);
  CardContents contents = CardContents::as_they_are;
  bool mounts = true;
  for (const std::string& word : words) {
    if (word == "unmounted") {
      mounts = false;
    } else if (!apply_word(word, &state, &contents)) {
      return *error = "\"" + word + "\" is no word of a card: write unmounted, " + kCardWords, false;
    }
  }
  pull_locked();
  bool made = save(state);
  if (made && contents != CardContents::as_they_are) {
    empty_folder(folder(name) + "/files");
    made = make_contents(folder(name) + "/files", contents);
  }
  if (!made || !write_file(root_ + "/sim/card", name + "\n")) {
    *error = "the card " + name + " cannot be made: " + strerror(errno);
    log("sim/cards/" + name);
    return false;
  }
  state_ = state;
  show_locked();
  appear_locked();
  if (mounts) mount_locked();
  return true;
}

bool Card::pull() {
  std::lock_guard guard(lock_);
  return pull_locked();
}

bool Card::pull_locked() {
  if (state_.name.empty()) return false;
  if (!state_.dummy) {
    tell_locked(651, state_.volume() + " " + std::to_string(state_.mounted ? kBadRemoval : kRemoved));
    vanish_locked();
  }
  detach_locked();
  if (unlink((root_ + "/sim/card").c_str()) != 0) log("sim/card");
  state_ = {};
  show_locked();
  return true;
}

// 200, or why a command cannot be carried out on what is asked for.
int Card::found_locked(const std::string& asked, const std::string& there) const {
  if (state_.name.empty() || state_.dummy) return kVolumeNoMedia;
  return asked.empty() || asked == there ? kVolumeOkay : kVolumeNotFound;
}

void Card::tell_locked(int code, const std::string& text) const { announce_(std::to_string(code) + " " + text); }

void Card::appear_locked() {
  if (state_.name.empty() || state_.dummy) return;
  const std::string disk = kCardDisk;
  tell_locked(640, disk + " 4");
  tell_locked(641, disk + " " + std::to_string(int64_t{state_.size_mib} << 20));
  tell_locked(642, disk + " ATDSIM");
  tell_locked(643, disk + " /sys/devices/soc.0/7864900.sdhci/mmc_host/mmc1/mmc1:0001/block/mmcblk0");
  tell_locked(650, state_.volume() + " 0 \"" + disk + "\" \"\"");
  tell_locked(651, state_.volume() + " " + std::to_string(kIsUnmounted));
}

void Card::vanish_locked() {
  tell_locked(659, state_.volume());
  tell_locked(649, kCardDisk);
  properties_.remove(kIdProperty);
}

int Card::mount(const std::string& volume) {
  std::lock_guard guard(lock_);
  const int found = found_locked(volume, state_.volume());
  return found == kVolumeOkay ? mount_locked() : found;
}

int Card::mount_locked() {
  if (state_.name.empty() || state_.dummy) return kVolumeNoMedia;
  if (state_.mounted) return kVolumeBusy;
  const std::string volume = state_.volume();
  auto enter = [&](VolumeState state) { tell_locked(651, volume + " " + std::to_string(state)); };
  enter(kChecking);
  if (state_.blank || state_.corrupt) {
    enter(kUnmountable);
    return state_.blank ? kVolumeBlank : kVolumeCorrupt;
  }
  const std::string path = "/storage/" + state_.id, place = resolve(root_, path);
  if (place.empty() || rename((folder(state_.name) + "/files").c_str(), place.c_str()) != 0) {
    log(path);
    enter(kUnmountable);
    return kVolumeFailed;
  }
  state_.mounted = true;
  mounted_at_ = place;
  guarded_ = state_.full || state_.write_protected;
  show_locked();
  properties_.set(kIdProperty, state_.id);
  tell_locked(652, volume + " vfat");
  tell_locked(653, volume + " " + state_.id);
  tell_locked(654, volume + " " + state_.name);
  tell_locked(656, volume + " /mnt/media_rw/" + state_.id);
  tell_locked(655, volume + " " + path);
  enter(state_.write_protected ? kMountedReadOnly : kMounted);
  return kVolumeOkay;
}

// Takes the files of a mounted card back to the card.
void Card::detach_locked() {
  if (!state_.mounted) return;
  const std::string files = folder(state_.name) + "/files";
  // A person may have put a link in the folder's place. What it leads to is not the card's.
  if (!is_folder(mounted_at_)) errno = ENOTDIR;
  else if (rename(mounted_at_.c_str(), files.c_str()) == 0) errno = 0;
  if (errno != 0) {
    log(mounted_at_);
    make_folders(files);
  }
  state_.mounted = false;
  mounted_at_ = "";
  guarded_ = false;
  show_locked();
}

int Card::unmount(const std::string& volume) {
  std::lock_guard guard(lock_);
  const int found = found_locked(volume, state_.volume());
  return found == kVolumeOkay ? unmount_locked() : found;
}

int Card::unmount_locked() {
  if (!state_.mounted) return kVolumeNotMounted;
  tell_locked(651, state_.volume() + " " + std::to_string(kEjecting));
  detach_locked();
  tell_locked(651, state_.volume() + " " + std::to_string(kIsUnmounted));
  return kVolumeOkay;
}

// Makes an empty file system on the unmounted card, which becomes `fresh`.
bool Card::wipe_locked(CardState fresh) {
  fresh.id = next_id(state_.id);
  fresh.blank = fresh.corrupt = fresh.full = false;
  empty_folder(folder(state_.name) + "/files");
  if (!save(fresh)) return log("sim/cards/" + state_.name), false;
  state_ = fresh;
  properties_.remove(kIdProperty);
  show_locked();
  return true;
}

int Card::format(const std::string& volume) {
  std::lock_guard guard(lock_);
  const int found = found_locked(volume, state_.volume());
  if (found != kVolumeOkay) return found;
  if (state_.write_protected) return kVolumeFailed;
  unmount_locked();
  tell_locked(651, state_.volume() + " " + std::to_string(kFormatting));
  const bool made = wipe_locked(state_);
  tell_locked(651, state_.volume() + " " + std::to_string(kIsUnmounted));
  return made ? kVolumeOkay : kVolumeFailed;
}

int Card::partition(const std::string& disk) {
  std::lock_guard guard(lock_);
  const int found = found_locked(disk, kCardDisk);
  if (found != kVolumeOkay) return found;
  if (state_.write_protected) return kVolumeFailed;
  unmount_locked();
  tell_locked(659, state_.volume());
  CardState fresh = state_;
  fresh.whole_disk = false;
  const bool made = wipe_locked(fresh);
  tell_locked(650, state_.volume() + " 0 \"" + kCardDisk + "\" \"\"");
  tell_locked(651, state_.volume() + " " + std::to_string(kIsUnmounted));
  return made ? kVolumeOkay : kVolumeFailed;
}

int Card::reset() {
  std::lock_guard guard(lock_);
  if (found_locked("", "") != kVolumeOkay) return kVolumeOkay;
  unmount_locked();
  vanish_locked();
  appear_locked();
  return kVolumeOkay;
}

}  // namespace atd::sim
