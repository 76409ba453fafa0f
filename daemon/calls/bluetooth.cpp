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
      {FUNCTION(handle_testmode_bt_read_request), "address", zero, "Tells the Bluetooth address."},
      {FUNCTION(handle_atcmd_btad_range), "form", zero, "Tells how to write an address."},
      {"handle_atcmd_btad_assign", assign_address, "DIGITS outcome", zero, "Stores the Bluetooth address.", kDestroys},
      {FUNCTION(handle_bt_test_mode_query), "mode", zero,
       "Tells whether Bluetooth is in its test mode: 2, also when it does not say, else 1."},
      {FUNCTION(handle_testmode_bt_test_mode_query), "", any,
       "Tells in the result whether Bluetooth is in its test mode: 0, else 1, or 2 when it does not say."},
      {FUNCTION(handle_bt_test_mode_assign), "DIGITS", zero,
       "Enters (2) or leaves (3) the test mode; of two digits the units come first."},
      {FUNCTION(handle_testmode_bt_test_mode_assign), "CODE", zero,
       "Enters (1, 11 to 42) or leaves (5) the test mode."},
      {FUNCTION(enter_bt_test_mode), "VALUE", zero, "Enters (2, 11 to 42) or leaves (3) the test mode."},
      {FUNCTION(handle_testmode_btle_test_enable), "", zero, "Switches the tests of Low Energy on.", kInDaemon},
      {FUNCTION(handle_testmode_btle_test_disable), "", zero, "Switches the tests of Low Energy off.", kInDaemon},
      {FUNCTION(handle_testmode_btle_tx_test_start), "CODE", zero,
       "Starts the Low Energy transmitter test on channel CODE - 41.", kInDaemon},
      {FUNCTION(handle_testmode_btle_tx_test_end), "", zero, "Ends the Low Energy transmitter test.", kInDaemon},
      {FUNCTION(handle_testmode_btle_rx_test_start), "CHANNEL", zero,
       "Starts the Low Energy receiver test on a channel.", kInDaemon},
      {FUNCTION(handle_testmode_btle_rx_test_end), "packets", zero,
       "Ends the Low Energy receiver test and tells how many packets came.", kInDaemon},
      {"bt_check_BleCmd", relay, "DATA# reply:65536#", one,
       "Has the controller carry out a tester's Low Energy command: 1, or 0 for what is none."},
  };
}

}  // namespace atd
