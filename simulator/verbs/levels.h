// Log levels by name.
#pragma once

#include <string>
#include <vector>

namespace atd::sim {

// "verbose" to "silent", the lowest first.
const std::vector<std::string>& level_names();

// The name of a priority of the log library.
std::string level_name(int priority);

// The priority of a name; -1 where there is none.
int level_of(const std::string& name);

}  // namespace atd::sim
