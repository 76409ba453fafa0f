#include "system/background.h"

#include "platform/os.h"

void await_background_work() { atd::os_await_threads(); }
