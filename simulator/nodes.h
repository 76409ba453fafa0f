// The kernel's nodes, the partitions, the version files and the first logs of a new phone.
#pragma once

#include <string>

namespace atd::sim {

// Makes those that are missing below the folder `root`; false with errno, and the one that cannot be made in *culprit.
// What is there stays: a person may have edited it.
bool make_nodes(const std::string& root, std::string* culprit);

// Whether a boot gives a node its first content again, whatever was written there.
bool begins_anew(const std::string& path);

// Gives those that the kernel begins anew at a boot their first content.
void boot_nodes(const std::string& root);

}  // namespace atd::sim
