// The SD card, and the daemon that mounts it.
#include <algorithm>

#include "desk/nearest.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

constexpr struct {
  const char* word;
  DaemonManner manner;
} kManners[] = {
    {"normal", DaemonManner::normal}, {"crash", DaemonManner::crash},   {"split", DaemonManner::split},
    {"chatty", DaemonManner::chatty}, {"silent", DaemonManner::silent}, {"gone", DaemonManner::gone},
};

void show(SimulatedDevice& device, VerbCall& call) {
  const CardState card = device.card.state();
  const DaemonManner now = device.volume_daemon.manner();
  std::string manner;
  for (const auto& row : kManners) {
    if (row.manner == now) manner = row.word;
  }
  const std::vector<std::string> names = device.card.names();
  const bool none = card.name.empty();
  const std::string is = card.dummy ? "a dummy" : card.mounted ? "mounted at /storage/" + card.id : "not mounted";
  call.answer("card            " + (none ? "none" : card.name + ", " + is + "\nwhat it is      " + to_words(card)) +
                  "\nvolume daemon   " + manner + "\ncards           " + (names.empty() ? "none" : listed(names)) +
                  "\n",
              {{"card", none ? Json() : Json(card.name)},
               {"words", none ? Json() : Json(to_words(card))},
               {"id", none ? Json() : Json(card.id)},
               {"size_mib", none ? Json() : Json(card.size_mib)},
               {"mounted", card.mounted},
               {"daemon", manner},
               {"cards", names}});
}

void insert(SimulatedDevice& device, VerbCall& call) {
  std::vector<std::string> words;
  for (size_t i = 1; i < call.count(); ++i) words.push_back(call[i]);
  std::string error;
  if (!device.card.insert(call.count() == 0 ? "card" : call[0], words, &error)) return call.fail(kUsage, error);
  show(device, call);
  const CardState card = device.card.state();
  const bool mounts = !card.blank && !card.corrupt && !card.dummy;
  if (mounts && !card.mounted && std::find(words.begin(), words.end(), "unmounted") == words.end()) {
    call.fail(kFailed, "the card is in, but something else is at storage/" + card.id);
  }
}

void pull(SimulatedDevice& device, VerbCall& call) {
  if (!device.card.pull()) call.fail(kFailed, "no card is in the slot");
}

void end(VerbCall& call, int code) {
  switch (code) {
    case kVolumeOkay: return;
    case kVolumeNoMedia: return call.fail(kFailed, "no card is in the slot, or one without a device");
    case kVolumeBlank: return call.fail(kFailed, "the card is blank");
    case kVolumeCorrupt: return call.fail(kFailed, "the card is corrupt");
    case kVolumeNotMounted: return call.fail(kFailed, "the card is not mounted");
    case kVolumeBusy: return call.fail(kFailed, "the card is mounted");
    default: call.fail(kFailed, "this cannot be done; see the log");
  }
}

void mount(SimulatedDevice& device, VerbCall& call) { end(call, device.card.mount()); }

void unmount(SimulatedDevice& device, VerbCall& call) { end(call, device.card.unmount()); }

void daemon(SimulatedDevice& device, VerbCall& call) {
  std::vector<std::string> words;
  for (const auto& row : kManners) {
    if (call[0] == row.word) return device.volume_daemon.behave(row.manner);
    words.push_back(row.word);
  }
  call.fail(kUsage, "the volume daemon cannot be \"" + call[0] + "\": write one of " + listed(words));
}

constexpr Verb kVerbs[] = {
    {"card show", "", "Shows the SD card that is in, the volume daemon, and all cards.", show},
    {"card insert", "[NAME [WORD...]]",
     "Puts an SD card in and mounts it; words make it what it is: partition, disk, blank, corrupt, default, foreign, "
     "protected, full, dummy, plain, unmounted, size=MIB, id=XXXX-XXXX.",
     insert},
    {"card pull", "", "Pulls the SD card out, mounted or not.", pull},
    {"card mount", "", "Mounts the SD card.", mount},
    {"card unmount", "", "Unmounts the SD card.", unmount},
    {"card daemon", "WORD",
     "Sets what the volume daemon does to its clients: normal, crash (in its next answer), split (answers in pieces), "
     "chatty, silent, gone.",
     daemon},
};

}  // namespace

std::span<const Verb> card_rows() { return kVerbs; }

}  // namespace atd::sim
