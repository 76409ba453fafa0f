// The phone's log: SLOGI for progress and SLOGE for failures, both to the system buffer under the daemon's tag.
#pragma once

#define LOG_TAG "Atd"
#include <log/log.h>
