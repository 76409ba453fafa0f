// Which part of a phone's folder stands in which section of its file, and what the lines of its settings files say.
#pragma once

#include <string>

namespace atd::sim {

struct Place {
  const char* path;       // below the phone's folder; one that ends with "/" stands for what is below it
  const char* section;    // "" for what does not stand in the file by its path
  bool keeps_path;        // a key is the whole path, not the part after the place's
  const char* form = "";  // where it stands in another form
};

// The place that a path of the phone belongs to.
const Place& place_of(const std::string& path);

// Whether a place can hold folders, and not files alone.
bool holds_folders(const Place& place);

// Whether something below a folder of the phone stands in no section, so that nothing but the phone makes it.
bool holds_own(const std::string& folder);

// What is wrong with a line of "/sim/modem.conf", "/sim/input.conf", "/sim/display" or "/sim/fingerprint", "" when it
// makes sense.
std::string wrong_line(const std::string& file, const std::string& line);

}  // namespace atd::sim
