#include "simulator/phone_file/places.h"

#include <string.h>

#include <algorithm>

#include "desk/answer_rows.h"
#include "simulator/display/display.h"
#include "simulator/fingerprint.h"
#include "simulator/input/input.h"
#include "simulator/nodes.h"

namespace atd::sim {

namespace {

// The first one that fits counts.
constexpr Place kPlaces[] = {
    // clang-format off
    {"/sim/card",            "", false, "[cards.NAME]: in = true"},
    {"/sim/cards/",          "", false, "[cards.NAME]"},
    {"/sim/input.conf",      "", false, "[input]: lines"},
    {"/sim/modem.conf",      "", false, "[modem]: rows"},
    {"/system/build.prop",   "", false, "[build]"},
    // What one run leaves.
    {"/sim/boots",           "", false},
    {"/sim/control",         "", false},
    {"/sim/efs-open/",       "", false},
    {"/sim/identity-key",    "", false},
    {"/sim/lock",            "", false},
    {"/sim/power",           "", false},
    {"/sim/screen.png",      "", false},
    {"/sim/screen.raw",      "", false},
    {"/sim/wiping",          "", false},
    {"/dev/__properties__/", "", false},
    {"/dev/graphics/fb0",    "", false},
    {"/dev/input/",          "", false},
    {"/dev/log/",            "", false},
    {"/dev/socket/",         "", false},
    // What follows the card.
    {"/dev/block/mmcblk0",   "", false},
    {"/dev/block/mmcblk0p1", "", false},
    {"/sys/block/mmcblk0/",  "", false},
    {"/sys/devices/soc.0/7864900.sdhci/", "", false},

    {"/data/property/",      "properties",    false},
    {"/sim/items/",          "items",         false},
    {"/sim/modem/",          "modem.records", false},
    {"/sim/efs/",            "efs",           false},
    {"/system/bin/",         "programs",      false},
    {"/sim/",                "settings",      false},
    {"/dev/",                "nodes",         true},
    {"/proc/",               "nodes",         true},
    {"/sys/",                "nodes",         true},
    {"/",                    "files",         true},
    // clang-format on
};

constexpr Place kOneBoot = {"", "", false};

std::string wrong_row(const std::string& line) {
  AnswerRow row;
  return parse_answer_row(line, RowsOf::modem, &row);
}

constexpr struct {
  std::string_view file;
  std::string (*wrong)(const std::string& line);
} kSettingsFiles[] = {
    {"/sim/modem.conf", wrong_row},
    {"/sim/input.conf", Input::wrong},
    {"/sim/display", Display::wrong},
    {"/sim/fingerprint", Fingerprint::wrong},
};

}  // namespace

const Place& place_of(const std::string& path) {
  if (begins_anew(path)) return kOneBoot;
  return *std::find_if(std::begin(kPlaces), std::end(kPlaces), [&](const Place& place) {
    const bool is_folder = place.path[strlen(place.path) - 1] == '/';
    return is_folder ? (path + "/").starts_with(place.path) : path == place.path;
  });
}

bool holds_folders(const Place& place) { return place.keeps_path || strcmp(place.section, "efs") == 0; }

bool holds_own(const std::string& folder) {
  return std::any_of(std::begin(kPlaces), std::end(kPlaces), [&](const Place& place) {
    const std::string path = place.path;
    return !*place.section && path.starts_with(folder + "/") && path.size() > folder.size() + 1;
  });
}

std::string wrong_line(const std::string& file, const std::string& line) {
  return std::find_if(std::begin(kSettingsFiles), std::end(kSettingsFiles),
                      [&](const auto& row) { return row.file == file; })
      ->wrong(line);
}

}  // namespace atd::sim
