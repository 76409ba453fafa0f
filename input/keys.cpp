#include "input/keys.h"

#include <linux/input.h>
#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "input/input_device.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/scoped_lock.h"

using namespace atd;

namespace {

constexpr uint64_t kHoldUnitUs = 100000;

struct Key {
  int code;    // a character, or a test-mode code above 127
  int number;  // the platform's key number
};

constexpr Key kAtKeys[] = {{'*', 17}, {'#', 18}, {'A', 27}, {'B', 26}, {'C', 82}, {'D', 25}, {'F', 3}, {'H', 79},
                           {'K', 84}, {'L', 21}, {'P', 4},  {'R', 22}, {'U', 24}, {'V', 20}, {'^', 19}};

constexpr Key kTestModeKeys[] = {{'*', 17}, {'#', 18}, {'P', 5}, {'Q', 6}, {'R', 28}, {150, 24}, {151, 25}};

constexpr int kTableSize = 256;
pthread_mutex_t g_tables_lock = PTHREAD_MUTEX_INITIALIZER;
int g_at_keys[kTableSize];
int g_test_mode_keys[kTableSize];

// A table is read without the lock by those who have filled it: an entry that is right already is not written again.
void put(int* entry, int number) {
  if (*entry != number) *entry = number;
}

template <size_t count>
void fill(int* table, const Key (&keys)[count]) {
  ScopedLock lock(g_tables_lock);
  for (int digit = 0; digit <= 9; ++digit) put(&table['0' + digit], 7 + digit);
  for (const Key& key : keys) put(&table[key.code], key.number);
}

int look_up(const int* table, int code) { return code >= 0 && code < kTableSize ? table[code] : 0; }

int request_key(int opcode, char key) { return request_to_system(opcode, &key, 1, nullptr, nullptr, nullptr); }

}  // namespace

int SendKey(char key) { return request_key(kKeyClick, key); }

int SendKey(char key, int hold) {
  int pressed = request_key(kKeyPress, key);
  if (hold > 0) os_sleep_us(static_cast<uint64_t>(hold) * kHoldUnitUs);
  int released = request_key(kKeyRelease, key);
  return pressed != 0 ? pressed : released;
}

int SendKey(int release, char key) { return request_key(release ? kKeyRelease : kKeyPress, key); }

void ckpd_mapping() { fill(g_at_keys, kAtKeys); }

int ckpd_send_event(char* text) {
  ckpd_mapping();
  return SendKey(static_cast<char>(look_up(g_at_keys, atoi(text))));
}

int* testmode_key_mapping() {
  fill(g_test_mode_keys, kTestModeKeys);
  return g_test_mode_keys;
}

int keypad_change_keycode(int code) { return look_up(testmode_key_mapping(), code); }

int send_key_native(int scancode, int status) {
  SLOGI("scancode : %d, status : %d", scancode, status);
  int number;
  int fd = open_input_device(EV_KEY, scancode, &number, [](int n) { SLOGI("Closed input%d", n); });
  if (fd < 0) return 0;
  SLOGI("FOUND. input%d", number);
  if (!write_input_event(fd, EV_KEY, static_cast<uint16_t>(scancode), status)) SLOGE("Write failed");
  if (!write_input_event(fd, EV_SYN, SYN_REPORT, 0)) SLOGE("Write Failed.(2)");
  close(fd);
  return 0;
}
