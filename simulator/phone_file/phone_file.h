// One phone in one file: a text in TOML that says what is not as on a new phone. It holds what a reboot keeps, and the
// faults that are set. docs/simulated-phone.md says what stands where, and what is left out.
#pragma once

#include <string>
#include <vector>

#include "simulator/faults.h"

namespace atd::sim {

class SimulatedDevice;

// The largest content of a file in the text, in bytes; runs of zeros do not count.
inline constexpr size_t kPhoneFileContentMax = 64 * 1024;

// Writes the phone as a text; the same phone gives the same text. *left_out has a line for each file that cannot stand
// in it (it is too large, or nothing of the phone reads it); the text then has them as comments. False with a sentence
// in *error when the phone cannot be compared with a new one.
bool export_phone(SimulatedDevice& device, std::string* text, std::vector<std::string>* left_out, std::string* error);

// Makes the phone of a text in a folder that is missing or empty, whole or not at all; a kill leaves FOLDER.new~XXXXXX.
// Its faults are set by the caller once the phone runs. False with a sentence in *error, which names the line of the
// text as "NAME:LINE: ..." and says what to write there.
bool import_phone(const std::string& text, const std::string& name, const std::string& folder,
                  std::vector<Fault>* faults, std::string* error);

}  // namespace atd::sim
