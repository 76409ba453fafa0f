// The kernel's nodes and the partitions of a new phone.
#pragma once

#include <string>

namespace atd::sim {

// Makes those that are missing below the folder `root`; false with errno, and the one that cannot be made in *culprit.
// What is there stays: a person may have edited it.
bool make_nodes(const std::string& root, std::string* culprit);

}  // namespace atd::sim
