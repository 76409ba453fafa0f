#include "system/power.h"

#include <cutils/android_reboot.h>
#include <pthread.h>
#include <string.h>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/records.h"
#include "system/power_handlers.h"
#include "text/scoped_lock.h"

using namespace atd;

namespace {

// Long enough to answer the request that asked for the restart.
constexpr uint64_t kRebootDelayUs = 1000000;

// How the phone's run ends.
struct Ending {
  unsigned command;
  const char* reason;
  const char* start_line;
  const char* end_line;
  bool pending;  // waits for its moment: what is asked for meanwhile is the same one
};
Ending g_restart = {ANDROID_RB_RESTART, nullptr, "start restart\n", "end restart\n", false};
Ending g_aat = {ANDROID_RB_RESTART2, "aat_write", "start dload\n", "end reboot\n", false};
pthread_mutex_t g_pending_lock = PTHREAD_MUTEX_INITIALIZER;

void* carry_out(void* argument) {
  Ending& ending = *static_cast<Ending*>(argument);
  SLOGI("%s", ending.start_line);
  if (ending.reason) os_sync();
  os_sleep_us(kRebootDelayUs);
  {
    // It may be refused, so one that is asked for from here on is another one.
    ScopedLock lock(g_pending_lock);
    ending.pending = false;
  }
  android_reboot(ending.command, 0, ending.reason);
  SLOGI("%s", ending.end_line);
  return nullptr;
}

// Ends the phone's run one second from now, on a thread of its own; 0, or -1 when there is no thread.
int start(Ending& ending) {
  ScopedLock lock(g_pending_lock);
  if (ending.pending) return 0;
  if (const int error = os_start_thread(carry_out, &ending)) {
    SLOGE("Unable to create frst thread : %s\n", strerror(error));
    return -1;
  }
  ending.pending = true;
  return 0;
}

}  // namespace

int system_efs_sync() {
  char response[MAX_RZCMD_REQ_SIZE] = {};
  if (request_to_system(kModemFileSystemSync, nullptr, 0, response, nullptr, nullptr) != 0) {
    SLOGE("system_efs_sync Fail ! return error.");
    return -1;
  }
  if (static_cast<unsigned char>(response[0]) >= 255) {
    SLOGE("system_efs_sync Fail ! rsp error.");
    return -1;
  }
  return 0;
}

int system_restart() {
  SLOGI("start system_restart\n");
  if (system_efs_sync() != 0) {
    SLOGE("EFS SYNC ERROR\n");
    return -1;
  }
  SLOGI("system_efs_sync DONE\n");
  os_sync();
  SLOGI("sync DONE\n");
  if (start(g_restart) != 0) return -1;
  SLOGI("end system_restart\n");
  return 0;
}

int system_aat() {
  // Stations look for this name.
  SLOGI("start system_dload\n");
  if (system_efs_sync() != 0) {
    SLOGE("EFS SYNC ERROR\n");
    return -1;
  }
  if (start(g_aat) != 0) return -1;
  SLOGI("end system_aat_write\n");
  return 0;
}

namespace atd {

// The response stays as it came, whatever becomes of the sync.
void handle_efs_sync(rzcmd_response*) { system_efs_sync(); }

}  // namespace atd
