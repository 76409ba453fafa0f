// Lines of the log about Bluetooth.
#pragma once

#include "platform/log.h"

// What most of them begin with: a source line and the function that it belongs to.
#define BT_PREFIX "[bt(%d)-%s]   "

// A line that begins with the place where it is written.
#define BT_LOGI(text, ...) SLOGI(BT_PREFIX text, __LINE__, __func__, ##__VA_ARGS__)
#define BT_LOGE(text, ...) SLOGE(BT_PREFIX text, __LINE__, __func__, ##__VA_ARGS__)
