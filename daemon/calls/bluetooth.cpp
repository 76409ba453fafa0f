// The Bluetooth test modes.
#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "daemon/calls/row.h"

namespace atd {

namespace {

// The digits as one word: each is a parameter of its own.
int assign_address(const char* digits, char* out) {
  std::vector<std::string> words;
  for (; *digits; ++digits) words.emplace_back(1, *digits);
  std::vector<const char*> params;
  for (const std::string& word : words) params.push_back(word.c_str());
  return handle_atcmd_btad_assign(params.data(), static_cast<int>(params.size()), out);
}

// A pipe stands for the USB port; it holds more than a reply has.
int relay(const void* data, int length, char* reply, int* reply_length) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return -1;
  const int result = bt_check_BleCmd(ends[1], static_cast<const unsigned char*>(data), length);
  close(ends[1]);
  const ssize_t got = read(ends[0], reply, kToldSize);
  close(ends[0]);
  *reply_length = got < 0 ? 0 : static_cast<int>(got);
  return result;
}

}  // namespace

std::vector<Row> bluetooth_calls() {
  return {
      {FUNCTION(bt_resp), "RESULT told TEXT", any, "Tells a text and the result, as a Bluetooth command does."},
      {FUNCTION(handle_atcmd_btad_query), "address", zero, "Tells the Bluetooth address."},
      {FUNCTION(handle_testmode_bt_read_request), "address", zero, "The same."},
      {FUNCTION(handle_atcmd_btad_range), "form", zero, "Tells how to write an address."},
      {"handle_atcmd_btad_assign", assign_address, "DIGITS outcome", zero, "Stores the Bluetooth address.", kDestroys},
      {FUNCTION(handle_bt_test_mode_query), "mode", zero, "Tells whether Bluetooth is in its test mode: 2, else 1."},
      {FUNCTION(handle_testmode_bt_test_mode_query), "", any, "Tells it in the result: 0, else 1."},
      {FUNCTION(handle_bt_test_mode_assign), "DIGITS", zero,
       "Enters (2) or leaves (3) the mode; the units come first."},
      {FUNCTION(handle_testmode_bt_test_mode_assign), "CODE", zero, "Enters (1, 11 to 42) or leaves (5) the mode."},
      {FUNCTION(enter_bt_test_mode), "VALUE", zero, "Enters (2, 11 to 42) or leaves (3) the test mode."},
      {FUNCTION(handle_testmode_btle_test_enable), "", zero, "Switches the tests of Low Energy on.", kRemembers},
      {FUNCTION(handle_testmode_btle_test_disable), "", zero, "Switches them off.", kRemembers},
      {FUNCTION(handle_testmode_btle_tx_test_start), "CODE", zero, "Starts to send on channel CODE - 41.", kRemembers},
      {FUNCTION(handle_testmode_btle_tx_test_end), "", zero, "Ends that.", kRemembers},
      {FUNCTION(handle_testmode_btle_rx_test_start), "CHANNEL", zero, "Starts to receive on a channel.", kRemembers},
      {FUNCTION(handle_testmode_btle_rx_test_end), "packets", zero, "Ends that and tells how many packets came.",
       kRemembers},
      {"bt_check_BleCmd", relay, "DATA# reply:65536#", value, "Has the controller carry out a tester's command: 1."},
  };
}

}  // namespace atd
