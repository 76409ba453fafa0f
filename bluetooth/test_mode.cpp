#include "bluetooth/test_mode.h"

#include <string.h>

#include "bluetooth/response.h"
#include "factory/bluetooth_log.h"
#include "platform/bluetooth.h"
#include "platform/os.h"
#include "text/number.h"

using namespace atd;

namespace {

constexpr int kEnter = 2;
constexpr int kLeave = 3;
// The controller's answer when it has left the mode already.
constexpr int kAlreadyLeft = 2;

bool is_loopback(int value) { return value >= 11 && value <= 42; }

}  // namespace

int handle_bt_test_mode_query(char* out) { return bt_resp(0, out, bluetooth_is_dut_mode() != 0 ? "2" : "1"); }

int handle_testmode_bt_test_mode_query() {
  switch (bluetooth_is_dut_mode()) {
    case 1: return 0;
    case 0: return 1;
    default: return 2;
  }
}

int handle_bt_test_mode_assign(const char* text) {
  const int length = text ? static_cast<int>(strnlen(text, 3)) : 0;
  if (length < 1 || length > 2 || !is_digit(text[0]) || (length == 2 && !is_digit(text[1]))) {
    BT_LOGE("neither one digit nor two\n");
    return 1;
  }
  // Testers send the units first.
  const int value = text[0] - '0' + (length == 2 ? 10 * (text[1] - '0') : 0);
  BT_LOGI("handle_bt_test_mode_assign: %d, value: %d\n", length, value);
  return enter_bt_test_mode(value);
}

int handle_testmode_bt_test_mode_assign(int code) {
  if (code == 1) return enter_bt_test_mode(kEnter);
  if (code == 5) return enter_bt_test_mode(kLeave);
  if (is_loopback(code)) return enter_bt_test_mode(code);
  BT_LOGE("no test mode has the code %d\n", code);
  return 1;
}

int enter_bt_test_mode(int value) {
  BT_LOGI("value : %d\n", value);
  int result;
  if (value == kLeave) {
    result = bluetooth_exit_dut_mode();
    os_sleep_us(50000);
    if (result == kAlreadyLeft) {
      SLOGI("DUT is already terminated : Value %d", result);
      return 0;
    }
  } else if (value == kEnter || is_loopback(value)) {
    result = bluetooth_enter_dut_mode(value == kEnter ? 0 : value - 10);
    os_sleep_us(500000);
    if (result < 0) {
      SLOGE("Failed to set BT DUT Mode");
      return 1;
    }
    // A positive result is logged as a success and as a failure.
    SLOGI("Audio Loopback & BT DUT Success");
  } else {
    BT_LOGE("Failed to process AT%%BTTM: Unsupported index\n");
    return 1;
  }
  if (result != 0) BT_LOGE("Failed to set BT DUT & Audio Loopback Mode\n");
  return result;
}
