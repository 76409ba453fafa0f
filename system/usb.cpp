#include "system/usb.h"

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <string.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/node_access.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "text/prefix.h"

using namespace atd;

namespace {

constexpr char kLock[] = "/sys/class/android_usb/android0/lock";
constexpr char kState[] = "/sys/class/android_usb/android0/state";

constexpr int kReads = 20;
constexpr uint64_t kBetweenReadsUs = 50000;
// What the port takes to follow its lock or its composition.
constexpr uint64_t kSettleUs = 100000;

pthread_mutex_t g_path_lock = PTHREAD_MUTEX_INITIALIZER;

// Opens the lock's node for the function of that name; -1 with the reason in errno and in the log.
int open_lock(const char* function) {
  const int fd = open(device_path(kLock), O_RDWR | O_CLOEXEC);
  if (fd >= 0) return fd;
  const int error = errno;
  SLOGE("USB PATH : %s FAILED\n", function);
  if (error == ENOENT) SLOGE("USB PATH : %s does not exist\n", kLock);
  errno = error;
  return -1;
}

// A port without a lock is an open one.
int without_lock() { return errno == ENOENT ? 0 : -1; }

int failed(const char* function) {
  SLOGE("USB PATH : %s FAILED\n", function);
  return -1;
}

ssize_t read_once(int fd, char* text, size_t size) {
  ssize_t length;
  do {
    length = read(fd, text, size);
  } while (length < 0 && errno == EINTR);
  return length;
}

// A composition is asked for even where the lock cannot be written.
void write_lock(const char* function, const char* text) {
  if (unified_sysfs_write(kLock, text) < 0) SLOGE("[%s] cannot write %s", function, kLock);
}

// With the path lock held.
int change_path() {
  const int lock = get_usb_lock();
  if (lock == -1) return -1;
  if (lock == 1) set_usb_lock(0);
  system_property_set("sys.usb.config", "none");
  wait_for_state("none");
  system_property_set("sys.usb.adb_skip_auth", "skip");
  // No port gets this state: the wait ends by its time, and the change goes on.
  wait_for_state("skip");
  system_property_set("sys.usb.config", "factory,adb");
  wait_for_state("factory,adb");
  return 0;
}

}  // namespace

int wait_for_state(const char* state) {
  for (int i = 0; i < kReads; ++i) {
    if (i > 0) os_sleep_us(kBetweenReadsUs);
    char value[PROPERTY_VALUE_MAX] = "";
    system_property_get("sys.usb.state", value);
    if (strcmp(value, state) == 0) return 1;
  }
  SLOGE("USB PATH : %s(%s) FAILED\n", "wait_for_state", state);
  return 0;
}

int get_usb_lock() {
  const int fd = open_lock("get_usb_lock");
  if (fd < 0) return without_lock();
  char digit;
  const ssize_t length = read_once(fd, &digit, 1);
  close(fd);
  return length == 1 ? digit - '0' : failed("get_usb_lock");
}

int set_usb_lock(int value) {
  const int fd = open_lock("set_usb_lock");
  if (fd < 0) return without_lock();
  const char digit = static_cast<char>('0' + value);
  ssize_t length;
  do {
    length = write(fd, &digit, 1);
  } while (length < 0 && errno == EINTR);
  close(fd);
  return length == 1 ? 0 : failed("set_usb_lock");
}

int usb_path_change() {
  const auto body = [](void*) -> void* {
    usb_path_change_thread();
    return nullptr;
  };
  if (const int error = os_start_thread(body, nullptr)) {
    SLOGE("Unable to create pm reset thread : %s\n", strerror(error));
    return -1;
  }
  return 0;
}

int usb_path_change_thread() {
  if (pthread_mutex_trylock(&g_path_lock) != 0) {
    SLOGE("USB PATH : %s is already running\n", "usb_path_change_thread");
    return -1;
  }
  const int result = change_path();
  pthread_mutex_unlock(&g_path_lock);
  return result;
}

int usb_mode_change_user() {
  write_lock("usb_mode_change_user", "0");
  os_sleep_us(kSettleUs);
  return system_property_set("sys.usb.config", "factory,adb") == 0 ? 0 : 1;
}

// The lock closes last, so that the port can still take the composition.
int usb_mode_change_factory() {
  if (system_property_set("sys.usb.config", "factory") != 0) return 1;
  os_sleep_us(kSettleUs);
  write_lock("usb_mode_change_factory", "1");
  return 0;
}

int usb_mode_change_cpdm() {
  write_lock("usb_mode_change_cpdm", "0");
  os_sleep_us(kSettleUs);
  return system_property_set("sys.usb.config", "qmicm,adb") == 0 ? 0 : 1;
}

int get_usbstate_from_sys() {
  const int fd = open(device_path(kState), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    SLOGE("Error while opening the file %s : %s \n", kState, strerror(errno));
    return 0;
  }
  char text[1024 + 1];
  const ssize_t length = read_once(fd, text, sizeof text - 1);
  const int error = errno;
  close(fd);
  if (length < 0) {
    SLOGE("Error while reading the file %s : %s\n", kState, strerror(error));
    return 0;
  }
  text[length] = '\0';
  SLOGI("USB State: %s", text);
  constexpr const char* kStates[] = {"DISCONNECTED", "CONNECTED", "CONFIGURED"};
  int state = 0;
  for (int i = 0; i < 3 && state == 0; ++i) {
    if (begins_with(text, kStates[i])) state = i + 1;
  }
  if (state == 0) SLOGE("UNKNOWN USB State");
  SLOGI("The value returned from %s is %d ", "get_usbstate_from_sys", state);
  return state;
}
