#include "system/modem_test.h"

#include <string.h>

#include <atomic>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "platform/records.h"
#include "system/power.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

struct ModemTest {
  int opcode;
  const char* function;  // as its log line names it
  bool knows_two;        // an answer that begins with '2' is an outcome of its own
};

constexpr ModemTest kScriptItem = {kTestScriptSet, "set_tav_test_script_item", false};
constexpr ModemTest kScriptMode = {kTestScriptMode, "get_tav_test_script_mode", false};
constexpr ModemTest kBackup = {kCalibrationBackup, "set_tav_test_script_cal_data", false};
constexpr ModemTest kRestore = {kCalibrationRestore, "set_tav_test_script_cal_data", false};
constexpr ModemTest kMaxPowerOn = {kWcdmaMaxPowerOn, "tav_wcdma_maxpower_on", false};
constexpr ModemTest kMaxPowerOff = {kWcdmaMaxPowerOff, "tav_wcdma_maxpower_off", false};
constexpr ModemTest kCalRead = {kCalibrationRead, "tav_cal_check_read", false};
constexpr ModemTest kCalCheck = {kCalibrationCheck, "tav_cal_data_check", false};
constexpr ModemTest kTuningWrite = {kVcoTuningWrite, "tav_vco_self_tunning_write", true};
constexpr ModemTest kTuningRead = {kVcoTuningRead, "tav_vco_self_tunning_read", true};
constexpr ModemTest kReady = {kModemReady, "tav_check_modem_cmd_ready", false};
constexpr ModemTest kRfCheck = {kRfDeviceCheck, "rf_device_check", false};
constexpr ModemTest kReset = {kModemReset, "tav_reset_modem", false};

// Room for an answer and a terminator.
struct ModemAnswer {
  char text[MAX_RZCMD_REQ_SIZE + 1] = {};
  int length = 0;
};

// 0 with the answer, or the error of request_to_system with the empty one.
int ask(const ModemTest& test, ModemAnswer* answer) {
  const int error = request_to_system(test.opcode, nullptr, 0, answer->text, &answer->length, nullptr);
  if (error == 0) SLOGI("%s: %s\n", test.function, answer->text);
  return error;
}

int run(const ModemTest& test) {
  ModemAnswer answer;
  if (const int error = ask(test, &answer)) return error;
  if (test.knows_two && answer.text[0] == '2') return 2;
  return answer.text[0] == '1' ? 0 : 1;
}

int ask_text(const ModemTest& test, char* out) {
  ModemAnswer answer;
  const int error = ask(test, &answer);
  TextWriter(out, MAX_RZCMD_REQ_SIZE).text(answer.text);
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
  ModemAnswer answer;
  if (ask(kReset, &answer) != 0 || strcmp(answer.text, "1") != 0) return false;
  const int error = os_start_thread(testmode_power_reset_wait, nullptr);
  if (error != 0) SLOGE("POWER_RESET : Unable to create modem reset thread : %s\n", strerror(error));
  return error == 0;
}

}  // namespace

int set_tav_test_script_item() { return run(kScriptItem); }

int get_tav_test_script_mode(char* out, int* length) {
  const int error = ask_text(kScriptMode, out);
  *length = static_cast<int>(strlen(out));
  if (error != 0) return error;
  return *length == 0 ? 1 : 0;
}

int set_tav_test_script_cal_data(int kind) {
  switch (kind) {
    case 0: SLOGI("TAV_MODEM_MSG_BACKUP_CAL_DATA:\n"); return run(kBackup);
    case 1: SLOGI("TAV_MODEM_MSG_RESTORE_CAL_DATA:\n"); return run(kRestore);
    case 2:
      SLOGI("TAV_MODEM_MSG_RESET_CAL_DATA:\n");
      return request_to_system(kCalibrationReset, nullptr, 0, nullptr, nullptr, nullptr);
    default: return 1;
  }
}

int tav_wcdma_maxpower_on() { return run(kMaxPowerOn); }
int tav_wcdma_maxpower_off() { return run(kMaxPowerOff); }
int tav_cal_check_read(char* out) { return ask_text(kCalRead, out); }
int tav_cal_data_check(char* out) { return ask_text(kCalCheck, out); }
int tav_vco_self_tunning_write() { return run(kTuningWrite); }
int tav_vco_self_tunning_read() { return run(kTuningRead); }
int tav_check_modem_cmd_ready() { return run(kReady) == 0 ? 0 : 1; }

int rf_device_check(char* out) {
  ModemAnswer answer;
  const int error = ask(kRfCheck, &answer);
  if (error == 0 && answer.text[0] == '1') return 0;
  // As many bytes as the answer has: the last one is its terminator.
  out[0] = '\0';
  if (error == 0) memcpy(out, answer.text + 1, static_cast<size_t>(answer.length));
  return 1;
}

int tav_check_modem() {
  char booted[PROPERTY_VALUE_MAX];
  property_get("ril.modembsp.bootup", booted, "0");
  return booted[0] == '1' ? 0 : 1;
}

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
