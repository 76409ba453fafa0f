#include "storage/volume.h"

#include <errno.h>
#include <stdint.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "storage/card.h"
#include "storage/card_path.h"
#include "storage/vold_responses.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr uint64_t kSecondUs = 1000000;
constexpr uint64_t kResponseUs = 20 * kSecondUs;
constexpr size_t kCommandSize = 255;
constexpr char kPartition[] = "/dev/block/mmcblk0p1";

uint64_t now_us() {
  struct timespec now = {};
  os_clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * kSecondUs + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

// The code that a line begins with, 0 where it begins with none.
int code_of(const char* line) {
  if (strspn(line, "0123456789") < 3) return 0;
  return (line[0] - '0') * 100 + (line[1] - '0') * 10 + (line[2] - '0');
}

// Sends "0 ", the command and its terminator in one write.
bool send_command(int sock, const char* cmd) {
  char message[kCommandSize + 2];
  TextWriter writer(message);
  writer.format("0 %s", cmd);
  const size_t size = writer.length() + 1;
  ssize_t sent;
  do {
    sent = send(sock, message, size, MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  if (sent == static_cast<ssize_t>(size)) return true;
  SLOGE("Error writing data (%s)\n", strerror(sent < 0 ? errno : EIO));
  return false;
}

// Waits until the deadline for bytes and reads up to `size` of them; their number, or -1 for a failure, which is
// reported.
ssize_t receive(int sock, char* bytes, size_t size, uint64_t deadline) {
  for (;;) {
    const uint64_t now = now_us();
    const int ready = now < deadline ? os_wait_readable(sock, deadline - now) : 0;
    if (ready == 0) SLOGE("[TIMEOUT]\n");
    if (ready < 0 && errno == EINTR) continue;
    if (ready < 0) SLOGE("Error in select (%s)\n", strerror(errno));
    if (ready <= 0) return -1;
    const ssize_t got = recv(sock, bytes, size, 0);
    if (got > 0) return got;
    if (got == 0) {
      SLOGE("Lost connection to Vold - did it crash?\n");
      return -1;
    }
    if (errno != EINTR && errno != EAGAIN) {
      SLOGE("Error reading data (%s)\n", strerror(errno));
      return -1;
    }
  }
}

// Judges a line: 0 or 1 when it ends the exchange, -1 when the exchange goes on.
int handle_line(const char* line) {
  SLOGI("%s\n", line);
  const int code = code_of(line);
  if (code < 200 || code > 599) return -1;
  if (code < 400 || code > 499) return 0;
  SLOGE("VOLD Error %d(%s)\n", code, vold_response_text(code));
  return 1;
}

// A connection to the daemon, or -1, which is reported.
int connect_volume() {
  const int sock = os_connect_local("vold");
  if (sock < 0) SLOGE("Error connecting (%s)\n", strerror(errno));
  return sock;
}

bool exists(const char* device) { return access(device_path(device), F_OK) == 0; }

// Sends one of two commands: for a card with a partition, or for one that is a volume as a whole. 0, 1 when the
// exchange fails, or -1 when it does not begin, each reported; `who` is the function that the log names.
int request_card(const char* who, const char* with_partition, const char* whole) {
  const int sock = connect_volume();
  if (sock < 0) return -1;
  char value[PROPERTY_VALUE_MAX];
  system_property_get("ro.factorytest", value);
  SLOGI("[%s] ro.factorytest : %s\n", who, value);
  system_property_get("ro.minios.enable", value);
  SLOGI("[%s] ro.minios.enable : %s\n", who, value);
  const bool partition = exists(kPartition);
  int result = -1;
  if (!partition && !exists(kCardDevice)) {
    SLOGE("[%s] Error : Can not access %s\n", who, kCardDevice);
  } else {
    const char* cmd = partition ? with_partition : whole;
    SLOGI("[%s] volume_cmd : %s\n", who, cmd);
    result = do_cmd(sock, cmd);
  }
  close(sock);
  return result;
}

// Looks up to `tries` times, a second apart, whether the card is mounted.
bool await_mount(int tries) {
  for (;;) {
    if (GetSDCardMountStatus() == 0) return true;
    if (--tries == 0) return false;
    os_sleep_us(kSecondUs);
  }
}

bool format_card(const char* who) {
  if (GetSDCardMountStatus() == 0 && SetSDCardUnMount() != 0) return false;
  const int sock = connect_volume();
  if (sock < 0) return false;
  const int result = do_cmd(sock, "volume partition disk:179,0 public");
  close(sock);
  if (result != 0) return false;
  os_sleep_us(kSecondUs);
  if (SetSDCardMount() == 0 || await_mount(2)) return true;
  SLOGE("[%s] 250-23-2 : FAILED to mount card after format!\n", who);
  return false;
}

}  // namespace

int do_cmd(int sock, const char* cmd) {
  SLOGI("[%s] Command: %s", __func__, cmd);
  if (strlen(cmd) >= kCommandSize || !send_command(sock, cmd)) return 1;
  char buffer[4096];
  size_t filled = 0;
  uint64_t deadline = now_us() + kResponseUs;
  for (;;) {
    if (filled == sizeof buffer) {
      SLOGE("[%s] Error : Vold sends a line of more than %zu bytes\n", __func__, sizeof buffer);
      return 1;
    }
    const ssize_t got = receive(sock, buffer + filled, sizeof buffer - filled, deadline);
    if (got < 0) return 1;
    filled += static_cast<size_t>(got);
    const char* line = buffer;
    const char* end = buffer + filled;
    while (const void* nul = memchr(line, '\0', static_cast<size_t>(end - line))) {
      const int result = handle_line(line);
      if (result >= 0) return result;
      line = static_cast<const char*>(nul) + 1;
      // Pieces of a line do not put the end of the wait off, a line does.
      deadline = now_us() + kResponseUs;
    }
    filled = static_cast<size_t>(end - line);
    memmove(buffer, line, filled);
  }
}

int SetSDCardMount() {
  if (request_card(__func__, "volume mount public:179,1 2 0", "volume mount public:179,0 2 0") < 0) return -1;
  // The mount table decides, whatever the daemon said: it refuses to mount what is mounted, too.
  if (await_mount(5)) {
    SLOGI("[%s] Success : sdcard mounted\n", __func__);
    return 0;
  }
  SLOGE("[%s] Error : An error occured when mount sdcard\n", __func__);
  return -1;
}

int SetSDCardUnMount() {
  const int result = request_card(__func__, "volume unmount public:179,1", "volume unmount public:179,0");
  if (result > 0) SLOGE("[%s]Fail to unmount sdcard\n", __func__);
  return result == 0 ? 0 : -1;
}

int mmc_mmcformat(char* out) {
  TextWriter writer(out, sizeof "FORMAT:FAIL");
  if (!format_card(__func__)) {
    writer.text("FORMAT:FAIL");
    return 1;
  }
  SLOGI("[%s] 250-23-2 : SUCCESS!\n", __func__);
  writer.text("FORMAT:OK");
  return 0;
}
