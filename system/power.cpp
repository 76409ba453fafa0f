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

// Whether a restart waits for its moment: those asked for meanwhile are the same one.
bool g_restart_pending = false;
pthread_mutex_t g_restart_lock = PTHREAD_MUTEX_INITIALIZER;

void* restart(void*) {
  SLOGI("start restart\n");
  os_sleep_us(kRebootDelayUs);
  {
    // A restart may be refused, so one that is asked for from here on is another one.
    ScopedLock lock(g_restart_lock);
    g_restart_pending = false;
  }
  android_reboot(ANDROID_RB_RESTART, 0, nullptr);
  SLOGI("end restart\n");
  return nullptr;
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
  {
    ScopedLock lock(g_restart_lock);
    int error = g_restart_pending ? 0 : os_start_thread(restart, nullptr);
    if (error != 0) {
      SLOGE("Unable to create frst thread : %s\n", strerror(error));
      return -1;
    }
    g_restart_pending = true;
  }
  SLOGI("end system_restart\n");
  return 0;
}

namespace atd {

// The response stays as it came, whatever becomes of the sync.
void handle_efs_sync(rzcmd_response*) { system_efs_sync(); }

}  // namespace atd
