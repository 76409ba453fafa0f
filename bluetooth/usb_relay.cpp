#include "bluetooth/usb_relay.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "platform/bluetooth.h"
#include "platform/log.h"
#include "text/file.h"

using namespace atd;

int bt_check_BleCmd(int fd, const unsigned char* data, int length) {
  if (checkIsBleCmd(data, length) <= 0) return 0;
  SLOGI("[BTUI] ==== [Read from USB] len:%d ====", length);
  for (int i = 0; i < length; ++i) SLOGI("[BTUI] read data (%d): [%x]", i, data[i]);

  unsigned char reply[1024];
  int reply_length = 0;
  // A command that fails has a reply that says so.
  doProcessBLECmd(data, length, reply, &reply_length);
  if (reply_length <= 0) return 1;
  reply_length = std::min(reply_length, static_cast<int>(sizeof reply));
  SLOGI("[BTUI] ==== [Write to USB]  len:%d ====", reply_length);
  for (int i = 0; i < reply_length; ++i) SLOGI("[BTUI] write data (%d): [%x]", i, reply[i]);
  if (!write_all(fd, reply, static_cast<size_t>(reply_length))) {
    SLOGE("[BTUI] Write to external port failed in service stream: %s\n", strerror(errno));
    return -1;
  }
  // A port that cannot be synced has nothing to sync.
  fsync(fd);
  return 1;
}
