#include "system/modem_test.h"

#include <string.h>

#include <atomic>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "channel/text_answer.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "platform/records.h"
#include "system/power.h"
#include "text/property.h"

using namespace atd;

namespace {

// 0 with the answer, or the error of request_to_system with the empty one.
int ask(int opcode, const char* function, TextAnswer* answer) {
  const int error = answer->ask(opcode);
  if (error == 0) SLOGI("%s: %s\n", function, answer->text);
  return error;
}

// 0 for an answer that begins with '1', 2 for one with '2' where that is an outcome of its own, 1 for any other, or the
// error of request_to_system.
int run(int opcode, const char* function, bool knows_two = false) {
  TextAnswer answer;
  if (const int error = ask(opcode, function, &answer)) return error;
  if (knows_two && answer.text[0] == '2') return 2;
  return answer.text[0] == '1' ? 0 : 1;
}

int ask_text(int opcode, const char* function, char* out) {
  TextAnswer answer;
  const int error = ask(opcode, function, &answer);
  answer.copy_to(out);
  return error;
}

constexpr char kRestartLevel[] = "persist.sys.ssr.restart_level";
constexpr char kDisabled[] = "ALL_DISABLE";
constexpr char kEnabled[] = "ALL_ENABLE";

constexpr uint64_t kModemResetUs = 5000000;
std::atomic<bool> g_resetting{false};

void* testmode_power_reset_wait(void*) {
  SLOGI("POWER_RESET: modem reset start.\n");
  os_sleep_us(kModemResetUs);
  SLOGI("POWER_RESET: modem reset done.\n");
  g_resetting = false;
  return nullptr;
}

// Asks the modem to restart and starts the thread that waits for it; false when one of them fails.
bool begin_reset() {
  TextAnswer answer;
  if (ask(kModemReset, "tav_reset_modem", &answer) != 0 || strcmp(answer.text, "1") != 0) return false;
  const int error = os_start_thread(testmode_power_reset_wait, nullptr);
  if (error != 0) SLOGE("POWER_RESET : Unable to create modem reset thread : %s\n", strerror(error));
  return error == 0;
}

}  // namespace

int set_tav_test_script_item() { return run(kTestScriptSet, __func__); }

int get_tav_test_script_mode(char* out, int* length) {
  const int error = ask_text(kTestScriptMode, __func__, out);
  *length = static_cast<int>(strlen(out));
  if (error != 0) return error;
  return *length == 0 ? 1 : 0;
}

int set_tav_test_script_cal_data(int kind) {
  switch (kind) {
    case 0: SLOGI("TAV_MODEM_MSG_BACKUP_CAL_DATA:\n"); return run(kCalibrationBackup, __func__);
    case 1: SLOGI("TAV_MODEM_MSG_RESTORE_CAL_DATA:\n"); return run(kCalibrationRestore, __func__);
    case 2:
      SLOGI("TAV_MODEM_MSG_RESET_CAL_DATA:\n");
      return request_to_system(kCalibrationReset, nullptr, 0, nullptr, nullptr, nullptr);
    default: return 1;
  }
}

int tav_wcdma_maxpower_on() { return run(kWcdmaMaxPowerOn, __func__); }
int tav_wcdma_maxpower_off() { return run(kWcdmaMaxPowerOff, __func__); }
int tav_cal_check_read(char* out) { return ask_text(kCalibrationRead, __func__, out); }
int tav_cal_data_check(char* out) { return ask_text(kCalibrationCheck, __func__, out); }
int tav_vco_self_tunning_write() { return run(kVcoTuningWrite, __func__, true); }
int tav_vco_self_tunning_read() { return run(kVcoTuningRead, __func__, true); }
int tav_check_modem_cmd_ready() { return run(kModemReady, __func__) == 0 ? 0 : 1; }

int rf_device_check(char* out) {
  TextAnswer answer;
  const int error = ask(kRfDeviceCheck, __func__, &answer);
  if (error == 0 && answer.text[0] == '1') return 0;
  // As many bytes as the answer has: the last one is its terminator.
  out[0] = '\0';
  if (error == 0) memcpy(out, answer.text + 1, static_cast<size_t>(answer.length));
  return 1;
}

int tav_check_modem() { return first_character("ril.modembsp.bootup") == '1' ? 0 : 1; }

int tav_reset_modem() {
  // What fails from here on leaves the mark: a modem whose reset failed is not to be reset again by the same process.
  if (g_resetting.exchange(true)) {
    SLOGI("POWER_RESET: modem reset is doing.\n");
    return 0;
  }
  if (system_efs_sync() != 0) return 1;
  char level[PROPERTY_VALUE_MAX];
  const int length = property_get(kRestartLevel, level, kDisabled);
  SLOGI("POWER_RESET: modem_result = %d, value = %s\n", length, level);
  int number = 0;
  if (strcmp(level, kDisabled) == 0) {
    if (system_property_set(kRestartLevel, kEnabled) != 0) {
      SLOGE("[%s] cannot set %s", __func__, kRestartLevel);
      return 1;
    }
    number = 1;
  } else if (strcmp(level, kEnabled) == 0) {
    number = 3;
  }
  SLOGI("POWER_RESET: restart_lvl = %d, value = %s\n", number, level);
  if (begin_reset()) {
    if (number != 1) return 0;
    const int result = system_property_set(kRestartLevel, kDisabled);
    SLOGI("POWER_RESET: modem_result = %d\n", result);
    if (result == 0) return 0;
  }
  SLOGI("POWER_RESET: modem reset is doing.\n");
  return 0;
}
