#include "bluetooth/le_test.h"

#include <algorithm>

#include "factory/bluetooth_log.h"
#include "platform/bluetooth.h"

namespace {

// The numbers are told in the log.
enum Status {
  kEnabled,
  kDisabled,
  kReceiving,
  kSending,
  kReceived,
  kSent,
};

constexpr int kPayloadLength = 37;
constexpr int kPattern = 0;
constexpr int kNotSupported = -2;
constexpr unsigned kMostPackets = 99999;

Status g_status = kDisabled;

// A result of 0 or more sets the next status; another one is logged for the function, and is 2 where the controller
// does not support it, else 1.
int outcome(int line, const char* function, int result, Status next) {
  if (result >= 0) {
    g_status = next;
    return 0;
  }
  SLOGE(BT_PREFIX "%s\n", line, function, result == kNotSupported ? "Not supported" : "failed");
  return result == kNotSupported ? 2 : 1;
}

// The same for a switch, where only 0 is success.
int switched(int line, const char* function, int result, Status next) {
  if (result == 0) g_status = next;
  else SLOGE(BT_PREFIX "failed reason ret : %d\n", line, function, result);
  return result == 0 ? 0 : 1;
}

int out_of_turn(int line, const char* function) {
  SLOGE(BT_PREFIX "%s failed reason le status : %d\n", line, function, function, g_status);
  return 1;
}

}  // namespace

int handle_testmode_btle_test_enable() {
  if (g_status != kDisabled) return out_of_turn(__LINE__, __func__);
  return switched(__LINE__, __func__, do_ble_enable(), kEnabled);
}

int handle_testmode_btle_test_disable() {
  if (g_status != kEnabled && g_status != kReceived && g_status != kSent) return out_of_turn(__LINE__, __func__);
  return switched(__LINE__, __func__, do_ble_disable(), kDisabled);
}

// Whether a test may start is the controller's business.
int handle_testmode_btle_tx_test_start(int code) {
  // Without a sign, since the lowest codes wrap round.
  const int channel = static_cast<int>(static_cast<unsigned>(code) - 41);
  BT_LOGI("tx_freq : %d\n", channel);
  return outcome(__LINE__, __func__, bt_le_transmitter_test(channel, kPayloadLength, kPattern), kSending);
}

int handle_testmode_btle_rx_test_start(int channel) {
  BT_LOGI("rx_freq : %d\n", channel);
  return outcome(__LINE__, __func__, bt_le_receiver_test(channel), kReceiving);
}

int handle_testmode_btle_tx_test_end() {
  if (g_status != kSending) return out_of_turn(__LINE__, __func__);
  return outcome(__LINE__, __func__, bt_le_tx_test_end(), kSent);
}

int handle_testmode_btle_rx_test_end(unsigned* count) {
  if (g_status != kReceiving) return out_of_turn(__LINE__, __func__);
  unsigned packets = 0;
  const int result = outcome(__LINE__, __func__, bt_le_rx_test_end(&packets), kReceived);
  if (result != 0) return result;
  packets = std::min(packets, kMostPackets);
  BT_LOGI("success -> nPacketCnt : %d\n", static_cast<int>(packets));
  if (count) *count = packets;
  return 0;
}
