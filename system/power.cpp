#include "system/power.h"

#include <cutils/android_reboot.h>
#include <pthread.h>
#include <string.h>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "platform/log.h"
#include "platform/node_access.h"
#include "platform/os.h"
#include "platform/records.h"
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
};
constexpr Ending kRestart = {ANDROID_RB_RESTART, nullptr, "start restart\n", "end restart\n"};
constexpr Ending kPoweroff = {ANDROID_RB_POWEROFF, nullptr, "start poweroff\n", "end poweroff\n"};
constexpr Ending restart_for(const char* reason) {
  return {ANDROID_RB_RESTART2, reason, "start dload\n", "end reboot\n"};
}

// One on a thread of its own. While it waits for its moment, what is asked for is the same one.
struct Started {
  Ending ending;
  bool waits;
};
Started g_restart = {kRestart, false};
Started g_poweroff = {kPoweroff, false};
Started g_dload = {restart_for("dload"), false};
Started g_aat = {restart_for("aat_write"), false};
pthread_mutex_t g_started_lock = PTHREAD_MUTEX_INITIALIZER;

void await_moment(const Ending& ending) {
  SLOGI("%s", ending.start_line);
  if (ending.reason) os_sync();
  os_sleep_us(kRebootDelayUs);
}

void carry_out(const Ending& ending) {
  android_reboot(ending.command, 0, ending.reason);
  SLOGI("%s", ending.end_line);
}

void* run(void* argument) {
  Started& started = *static_cast<Started*>(argument);
  await_moment(started.ending);
  {
    // It may be refused, so one that is asked for from here on is another one.
    ScopedLock lock(g_started_lock);
    started.waits = false;
  }
  carry_out(started.ending);
  return nullptr;
}

// Ends the phone's run one second from now, on a thread of its own; 0, or -1 when there is no thread.
int start(Started& started) {
  ScopedLock lock(g_started_lock);
  if (started.waits) return 0;
  if (const int error = os_start_thread(run, &started)) {
    SLOGE("Unable to create frst thread : %s\n", strerror(error));
    return -1;
  }
  started.waits = true;
  return 0;
}

void end_here(const Ending& ending) {
  await_moment(ending);
  carry_out(ending);
}

int sync_modem() {
  if (system_efs_sync() == 0) return 0;
  SLOGE("EFS SYNC ERROR\n");
  return -1;
}

int sync_modem_and_phone() {
  if (sync_modem() != 0) return -1;
  SLOGI("system_efs_sync DONE\n");
  os_sync();
  SLOGI("sync DONE\n");
  return 0;
}

bool kernel_switches_off() {
  char status[20 + 1];
  return unified_sysfs_read("/sys/kernel/atd_mid/atd_status", status, sizeof status) > 0 && status[0] == '1';
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
  if (sync_modem_and_phone() != 0 || start(g_restart) != 0) return -1;
  SLOGI("end system_restart\n");
  return 0;
}

int system_poweroff() {
  SLOGI("start system_poweroff\n");
  if (sync_modem_and_phone() != 0) return -1;
  if (kernel_switches_off()) {
    SLOGI("skip atd poweroff beacause of kernel poweroff\n");
    return 0;
  }
  if (start(g_poweroff) != 0) return -1;
  SLOGI("end system_poweroff\n");
  return 0;
}

int system_dload() {
  SLOGI("start system_dload\n");
  if (sync_modem() != 0 || start(g_dload) != 0) return -1;
  SLOGI("end system_dload\n");
  return 0;
}

int system_aat() {
  // Stations look for this name.
  SLOGI("start system_dload\n");
  if (sync_modem() != 0 || start(g_aat) != 0) return -1;
  SLOGI("end system_aat_write\n");
  return 0;
}

void restart() { end_here(kRestart); }
void poweroff() { end_here(kPoweroff); }
void restart_with_reason(const char* reason) { end_here(restart_for(reason)); }
