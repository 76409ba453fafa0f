// Requests, keys and touches.
#include <string>

#include "daemon/calls/row.h"

namespace atd {

namespace {

std::string key_table(const int* keys) {
  std::string text;
  for (int code = 0; code < 256; ++code) {
    if (keys[code] != 0) text += (text.empty() ? "" : " ") + std::to_string(code) + "=" + std::to_string(keys[code]);
  }
  return text;
}

void tell_key_table(char* out) { put(key_table(testmode_key_mapping()), out); }

// A key is a number, which a person writes in decimal.
int send_key(unsigned char key) { return SendKey(static_cast<char>(key)); }
int hold_key(unsigned char key, int hold) { return SendKey(static_cast<char>(key), hold); }
int release_key(int release, unsigned char key) { return SendKey(release, static_cast<char>(key)); }

int touch(char* mode, char* x, char* y) {
  char unused[] = "";
  return ctsa_send_event(mode, x, y, unused);
}

}  // namespace

std::vector<Row> channel_calls() {
  return {
      {FUNCTION(init_modem_interface), "CLIENT", zero, "Opens the modem interface with a client handle."},
      {FUNCTION(request_to_system), "OPCODE DATA# data:2048# status", zero, "Asks the modem or the platform.",
       kDestroys | kAsksPlatform},

      {"SendKey", send_key, "KEY", zero, "Has the platform press a key by number.", kAsksPlatform},
      {"SendKey_hold", hold_key, "KEY HOLD", zero, "Has the platform hold a key for HOLD times 100 ms.", kAsksPlatform},
      {"SendKey_release", release_key, "RELEASE KEY", zero, "Has the platform release a key, or press it (RELEASE 0).",
       kAsksPlatform},
      {FUNCTION(ckpd_send_event), "CODE", zero,
       "Has the platform click the key of an AT keypad character, by its code: 35 is #.", kAsksPlatform},
      {FUNCTION(ckpd_mapping), "", any, "Fills the AT keypad table.", kInDaemon},
      {"testmode_key_mapping", tell_key_table, "keys", any, "Fills the test mode's table of keys and tells it."},
      {FUNCTION(keypad_change_keycode), "CODE", any, "Tells the test mode's key of a code, 0 for none."},
      {FUNCTION(send_key_native), "KEY PRESSED", zero, "Writes a key event, 1 pressed or 0, to an input device."},
      {"ctsa_send_event", touch, "MODE X Y", zero, "Touches: 0 and 5 release, 1 and 4 press, 2 tap, 3 double tap."},
      {FUNCTION(ctsa_support_list), "modes", zero, "Tells the touch modes."},
  };
}

}  // namespace atd
