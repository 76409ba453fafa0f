// Paths on the SD card.
#pragma once

#include <stddef.h>

namespace atd {

// Room for "/storage/", an id and the longest of the names below.
constexpr size_t kCardPathSize = 128;

constexpr char kCardDevice[] = "/dev/block/mmcblk0";

// Writes the path of what has this name on the card: "" for the card's folder, else a text of at most 26 characters
// that begins with "/". False when the card has no id, which is reported.
bool card_path(const char* name, char (&path)[kCardPathSize]);

// True when the card is mounted; else the failure is reported in the name of the function `who`.
bool require_mounted(const char* who);

}  // namespace atd
