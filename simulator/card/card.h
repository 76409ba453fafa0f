// The phone's SD card slot. Cards lie in "sim/cards/NAME", their files in "files" there. While a card is mounted its
// files are at "/storage/ID" instead. What the phone shows of the card that is in (device nodes, card detect, mounts,
// the property of its id) follows it. Which card is in, and what it is, survives a reboot and a kill.
#pragma once

#include <sys/vfs.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "simulator/card/card_state.h"
#include "simulator/files.h"
#include "simulator/property_store.h"

namespace atd::sim {

// How a volume command ends: the volume daemon's codes.
enum VolumeCode {
  kVolumeOkay = 200,
  kVolumeFailed = 400,
  kVolumeNoMedia = 401,
  kVolumeBlank = 402,
  kVolumeCorrupt = 403,
  kVolumeNotMounted = 404,
  kVolumeBusy = 405,
  kVolumeNotFound = 406,
};

// "/proc/mounts" without the line of a mounted card.
std::string without_card(const std::string& mounts);

inline constexpr char kCardDisk[] = "disk:179,0";

class Card {
 public:
  // The properties are the phone's. `announce` takes what the volume daemon tells everybody, "651 public:179,1 2"; it
  // may not call the card.
  Card(const std::string& root, Properties& properties, std::function<void(const std::string& text)> announce);

  // Puts right what a kill has left, and mounts the card that is in.
  void boot();

  // Puts a card in, in place of the one that is in, and mounts it. One that does not exist is made; one that exists is
  // as it was. The words change it (`apply_word`); the word "unmounted" keeps it from being mounted. False with a
  // sentence in *error, and everything as it was, for a wrong name or word.
  bool insert(const std::string& name = "card", const std::vector<std::string>& words = {},
              std::string* error = nullptr);

  // Pulls the card out, mounted or not; false when the slot is empty.
  bool pull();

  // The card that is in; one without a name when the slot is empty.
  CardState state() const;

  // The names of all cards, sorted.
  std::vector<std::string> names() const;

  // What a card is that may be in or not; a new one where none has the name.
  CardState load(const std::string& name) const;

  // The commands of the volume daemon, by a volume or disk, "" for the one that is there. A format and a partition
  // empty the card, give it a new id, and leave it unmounted. They return a VolumeCode.
  int mount(const std::string& volume = "");
  int unmount(const std::string& volume = "");
  int format(const std::string& volume = "");
  int partition(const std::string& disk = "");
  int reset();

  // Where a file call on a place of the desktop goes instead, "" for that place itself. Root may do everything in a
  // folder, so a card that takes no more has calls go where not even root can: what is not there is made in vain on a
  // protected card (EACCES, or EROFS where the desktop's /sys is read-only), and what is there is not removed or
  // renamed (EPERM). A file that is not there takes no bytes on a full card (ENOSPC); it can be opened, and read as
  // zeros. A file that is there can still be written.
  std::string stand_in(const std::string& place, Last last) const;

  // Puts the size and the free space of the mounted card into *result; false when the place is not on it.
  bool measure(const std::string& place, struct statfs* result) const;

 private:
  std::string folder(const std::string& name) const { return root_ + "/sim/cards/" + name; }
  bool save(const CardState& state) const;
  void log(const std::string& what) const;
  int found_locked(const std::string& asked, const std::string& there) const;
  void tell_locked(int code, const std::string& text) const;
  void appear_locked();
  void vanish_locked();
  int mount_locked();
  void detach_locked();
  int unmount_locked();
  bool wipe_locked(CardState fresh);
  bool pull_locked();
  void show_locked();
  void show_file_locked(const std::string& path, bool there, const std::string& content) const;
  void show_mount_locked() const;

  const std::string root_;
  Properties& properties_;
  const std::function<void(const std::string& text)> announce_;
  mutable std::mutex lock_;
  CardState state_;
  std::string mounted_at_;            // the place of the desktop, "" when it is not mounted
  std::atomic<bool> guarded_{false};  // a card is mounted that takes no more
};

}  // namespace atd::sim
