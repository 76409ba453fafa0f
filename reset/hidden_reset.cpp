#include "reset/hidden_reset.h"

#include <string.h>
#include <unistd.h>

#include "factory/items.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "reset/data_deletion.h"
#include "reset/factory_reset.h"
#include "storage/card.h"
#include "storage/card_contents.h"
#include "storage/card_test.h"
#include "storage/volume.h"
#include "system/power.h"
#include "system/sleep.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char kMasterClear[] =
    "am broadcast -a android.intent.action.MASTER_CLEAR -n android/com.android.server.MasterClearReceiver";

constexpr uint64_t kSecondUs = 1000000;
constexpr int kMountWaits = 11;

int hand_over_wipe() {
  const int status = os_system(kMasterClear);
  if (status != 0) SLOGE("the master clear is not broadcast: %d", status);
  return status;
}

// Erases the card where it works, and prepares the reset; 0 or 1.
int prepare_with_card() {
  if (mmc_emt(nullptr) == 0 && erase_external_sdcard() != 0) return 1;
  // From another status the reset would not clear the modem, and the wipe would follow.
  if (set_factory_status(0) != 0) return 1;
  hiddenmenu_frst = 1;
  const int result = sfactoryreset();
  hiddenmenu_frst = 0;
  return result;
}

int erase_all_but_default() {
  char verdict[2];
  if (mmc_mmcfactoryformat(verdict) != 0) {
    SLOGE("failed to erase external sdcard exclued defualt contents !!!\n");
    return 1;
  }
  SLOGI("erased external sdcard exclued defualt contents !!!\n");
  return 0;
}

int format_card() {
  char verdict[12];
  if (mmc_mmcformat(verdict) != 0) {
    SLOGE("failed to format external sdcard !!!\n");
    return 1;
  }
  SLOGI("formated external sdcard !!!\n");
  os_sleep_us(3 * kSecondUs);
  SetSDCardMount();
  for (int wait = 1; wait <= kMountWaits && GetSDCardMountStatus() != 0; ++wait) {
    SLOGI("external sdcard format is not finished, waiting %d sec\n", wait);
    os_sleep_us(kSecondUs);
  }
  return 0;
}

void* run_crst(void*) {
  hidden_factoryreset_sdcard();
  return nullptr;
}

}  // namespace

int hidden_factoryreset() {
  if (set_factory_status(0) != 0) return 1;
  sfactoryreset();
  // The next boot needs this status to watch for the setup wizard.
  if (set_factory_status(5) != 0) return 1;
  return hand_over_wipe();
}

int hidden_factoryreset_sdcard() {
  if (prepare_with_card() != 0 || set_factory_status(5) != 0) return 1;
  hand_over_wipe();
  return 0;
}

int factoryreset_crst() {
  if (const int error = os_start_thread(run_crst, nullptr)) {
    SLOGE("Unable to create factory reset(crst) thread : %s\n", strerror(error));
    return -1;
  }
  return 0;
}

int hidden_factoryreset_sdcard_power_off() {
  if (normal_mode_check() != 0 || prepare_with_card() != 0 || factory_delete() != 0) return 1;
  return set_factory_status(3) == 0 && system_poweroff() == 0 ? 0 : 1;
}

int erase_external_sdcard() {
  char id[PROPERTY_VALUE_MAX], place[128];
  if (read_uuid(id) != 0) {
    SLOGE("[%s] Error : read_uuid failed\n", __func__);
    return 0;
  }
  TextWriter(place).format("/storage/%s", id);
  if (access(device_path(place), F_OK) != 0) {
    SLOGI("external sdcard is not supported !!!\n");
    return 0;
  }
  if (mmc_emt(nullptr) != 0) {
    SLOGI("external sdcard is not inserted, skiped sdcard format !!!\n");
    return 0;
  }
  TextWriter(place).format("/storage/%s/RZdefault/Version.txt", id);
  return access(device_path(place), F_OK) == 0 ? erase_all_but_default() : format_card();
}
