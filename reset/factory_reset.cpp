#include "reset/factory_reset.h"

#include <string.h>

#include <atomic>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "factory/items.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "platform/records.h"
#include "platform/security_store.h"
#include "system/environment.h"
#include "system/sleep.h"
#include "text/folder.h"
#include "text/property.h"

using namespace atd;

int hiddenmenu_frst = 0;

namespace {

constexpr uint64_t kBetweenStepsUs = 200000;
constexpr uint64_t kBetweenRemovalsUs = 10000;
constexpr uint64_t kBetweenLooksUs = 500000;
constexpr char kBlueMode[] = "sys.bluefactorymode";
constexpr char kCallDurations[] = "/persist-rz/callduration";

// A reset whose status is not stored would begin the same step again and again.
int set_status(int status) { return set_factory_status(status) == 0 ? 0 : 1; }

int after_wipe() {
  const char blue = first_character(kBlueMode);
  if (blue == '1' || first_character("ro.minios.bootstart") == '1' || first_character("ro.fwx.bootstart") == '1') {
    SLOGI("[frst] sys.bluefactorymode : %c. Do not change FRST status", blue);
    return 0;
  }
  SLOGI("[frst] sys.bluefactorymode : %c. Change FRST status", blue);
  if (system_check_fboot() != 1) return 0;
  if (set_status(5) != 0) return 1;
  set_frst_running(0);
  return 0;
}

int clear_phone() {
  if (frst_modem_data_clear() != 0) return 1;
  frst_factory_item_clear();
  if (hiddenmenu_frst != 1) {
    SLOGI("Factory Factory Reset. Delete Mcafee DB.");
    os_system("rm -rf /data/data/com.wsandroid.suite.tav");
    os_sleep_us(kBetweenRemovalsUs);
    os_system("rm -rf /persist-rz/mms");
  }
  set_operator_clear();
  return set_status(2);
}

// One thread is enough, however often it is asked for.
std::atomic<bool> g_watched{false};

void* watch(void*) {
  check_setupwizard_complete();
  g_watched = false;
  return nullptr;
}

int await_setup() {
  if (!g_watched.exchange(true)) {
    if (const int error = os_start_thread(watch, nullptr)) {
      g_watched = false;
      SLOGE("Unable to create frst thread : %s\n", strerror(error));
      return 1;
    }
  }
  app_hash_remove_all();
  remove_pki_data();
  return 0;
}

int read_status() {
  const int status = get_factory_status();
  SLOGI("frst status: %d", status);
  return status;
}

}  // namespace

int sfactoryreset() {
  const char blue = first_character(kBlueMode);
  SLOGI("sys.bluefactorymode : %c.", blue);
  for (;; os_sleep_us(kBetweenStepsUs)) {
    const int status = read_status();
    if (frst_run(status) == 1) return 1;
    if (status == 5) return await_setup();
    if (status == 2 || status == 6 || (status == 3 && blue == '1')) return 0;
    if (status < 0 || status > 6) {
      SLOGE("[%s] no reset has this status: %d", __func__, status);
      return 1;
    }
  }
}

int frst_run(int status) {
  switch (status) {
    case 0: return set_status(1);
    case 1: return clear_phone();
    case 3:
    case 4: return after_wipe();
    default: return 0;
  }
}

int frst_modem_data_clear() {
  char response[MAX_RZCMD_REQ_SIZE] = {};
  if (const int error = request_to_system(kModemDataClear, nullptr, 0, response, nullptr, nullptr)) return error;
  if (response[0] == '1') return 0;
  SLOGE("TAV_MODEM_MSG_MODEM_DATA_CLEAR : restore NV is failed!");
  return 1;
}

int frst_rzcp_modem_backup() {
  char response[MAX_RZCMD_REQ_SIZE] = {};
  if (const int error = request_to_system(kModemBackup, nullptr, 0, response, nullptr, nullptr)) {
    SLOGE("Cannot get response. Return error:%d\n", error);
    return error;
  }
  SLOGI("Modem backup ok\n");
  return 0;
}

void frst_factory_item_clear() {
  if (system_get_factory_mode() == 2 || system_get_cable_type() == 1) set_frst_running(1);
  set_qem(0);
  set_charger_skip(0);
  set_lcd_break_mode(0);
}

void check_setupwizard_complete() {
  for (; get_factory_status() == 5; os_sleep_us(kBetweenLooksUs)) {
    char wizard[PROPERTY_VALUE_MAX] = "";
    system_property_get("sys.rzsetupwizard.status", wizard);
    if (wizard[0] != '2') continue;
    SLOGI("setup wizard is clicked, rzsetupwizard status : %s", wizard);
    if (set_factory_status(6) == 0) return;
  }
}

void factory_reset_callduration_erase() {
  if (!Folder(kCallDurations).is_open()) return;
  os_system("rm -r /persist-rz/callduration/*");
  SLOGI("CallDuration is deleted !!!\n");
}
