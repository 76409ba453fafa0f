// Logs as a phone has them after some use: of programs that hang or crash, of the kernel, of the touch test.
#pragma once

#include <string>

#include "simulator/factory_items.h"

namespace atd::sim {

// Puts a few small files below the folder `root`, in place of those of their names; false with errno.
bool make_sample_logs(const std::string& root);

// Sets the record of one crash, and their number to one; false with errno.
bool make_sample_crash(FactoryItems& items);

}  // namespace atd::sim
