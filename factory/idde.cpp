#include <string.h>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "factory/address.h"
#include "factory/bluetooth_address.h"
#include "factory/item_handlers.h"
#include "factory/modem_items.h"
#include "platform/log.h"
#include "platform/properties.h"
#include "platform/records.h"

using namespace atd;

namespace {

// Replaces every character of the serial number with a '0'; an empty number becomes one '0'.
void blank_serial_number() {
  char serial[13];
  if (tav_factory_serial_number_read(serial) != 0 || !*serial) serial[0] = '0', serial[1] = '\0';
  memset(serial, '0', strlen(serial));
  tav_factory_serial_number_write(serial);
}

}  // namespace

int write_tav_idde(const char* data, int len, char* rsp, int* rsp_len) {
  if (!data || !rsp) return RZCMD_FAIL;
  int answered = 0;
  int error = request_to_system(kIddeWrite, data, len, rsp, &answered, nullptr);
  if (rsp_len) *rsp_len = answered;
  SLOGI("IDDE response: %.*s size:%d\n", bounded_length(answered), rsp, answered);
  if (error != 0 || answered < 7 || memcmp(rsp, "IDDE OK", 7) != 0) return error;

  // The unit's identity was erased: what the phone keeps of it follows.
  if (handle_testmode_bt_write_request(kDefaultBluetoothAddress) == 1) return 1;
  blank_serial_number();
  system_property_set("persist.sys.mcc-list", "0");
  imei_check_on_boot();
  return error;
}
