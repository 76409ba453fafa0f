// Pressing keys without a person: by asking the platform, or straight into the kernel's input devices.
#pragma once

#pragma GCC visibility push(default)

// Asks the platform for a key by number: pressed and released; pressed, held for `hold` times 100 ms and released;
// released, or with `release` 0 pressed. 0, or the error of request_to_system.
int SendKey(char key);
int SendKey(char key, int hold);
int SendKey(int release, char key);

// Clicks the key of an AT keypad character, given as its code in decimal ("35" is '#'); number 0 for one without a key.
// 0, or the error of request_to_system.
int ckpd_send_event(char* text);

// Fills the AT keypad table, and the test-mode table, which it returns: 256 key numbers by character code.
void ckpd_mapping();
int* testmode_key_mapping();

// The test-mode key number of a code, 0 where there is none.
int keypad_change_keycode(int code);

// Writes a key event (status 1 pressed, 0 released) to the first input device that has the key; always 0.
int send_key_native(int scancode, int status);

#pragma GCC visibility pop
