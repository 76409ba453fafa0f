// Pressing keys without a person: by asking the platform, or straight into the kernel's input devices. On any thread.
#pragma once

#pragma GCC visibility push(default)

// Ask the platform for a key by number; 0, or the error of request_to_system. The first presses and releases it. The
// second holds it for `hold` times 100 ms in between. The third releases it, or presses it when `release` is 0.
int SendKey(char key);
int SendKey(char key, int hold);
int SendKey(int release, char key);

// Clicks the key of an AT keypad character, given as its code in decimal ("35" is '#'). A character without a key
// clicks key number 0. Returns 0, or the error of request_to_system.
int ckpd_send_event(char* text);

// Fill the AT keypad table and the test-mode table, each 256 key numbers by character code. The second returns its
// table.
void ckpd_mapping();
int* testmode_key_mapping();

// The test-mode key number of a code; 0 when it has none.
int keypad_change_keycode(int code);

// Writes a key event (status 1 pressed, 0 released) to the first input device that has the key; always 0.
int send_key_native(int scancode, int status);

#pragma GCC visibility pop
