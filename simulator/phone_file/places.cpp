#include "simulator/phone_file/places.h"

#include <string.h>

#include <algorithm>

#include "simulator/nodes.h"

namespace atd::sim {

namespace {

// The first one that fits counts.
constexpr Place kPlaces[] = {
    // clang-format off
    // These have sections of another form.
    {"/sim/card",            "", false},
    {"/sim/cards/",          "", false},
    {"/sim/input.conf",      "", false},
    {"/sim/modem.conf",      "", false},
    {"/system/build.prop",   "", false},
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

}  // namespace atd::sim
