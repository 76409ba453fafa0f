#include "bluetooth/address.h"

#include <stdint.h>
#include <string.h>

#include "bluetooth/response.h"
#include "factory/address.h"
#include "factory/bluetooth_address.h"
#include "factory/bluetooth_log.h"

using namespace atd;

int handle_atcmd_btad_query(char* out) {
  uint8_t bytes[kAddressSize];
  if (bt_addr_read(bytes) != 0) {
    BT_LOGE("handle_atcmd_btad_query : fail to read bt address from NV\n");
    return bt_resp(0, out, kDefaultBluetoothAddress);
  }
  char text[kAddressDigits + 1];
  bt_addr_hexa_to_ascii(bytes, text);
  return bt_resp(0, out, text);
}

int handle_testmode_bt_read_request(char* out) { return handle_atcmd_btad_query(out); }

int handle_atcmd_btad_range(char* out) { return bt_resp(0, out, "AT%BTAD=[BD ADDR:12HEX nibble => 6 Bytes]\n"); }

int handle_atcmd_btad_assign(const char* const* params, int count, char* out) {
  if (count != kAddressDigits) {
    BT_LOGE("unknown paramCount = %d\n", count);
    return 1;
  }
  char text[kAddressDigits + 1] = "";
  for (int i = 0; i < kAddressDigits; ++i) {
    if (!params[i] || strnlen(params[i], 2) != 1) {
      BT_LOGE("parameter %d is not one character\n", i + 1);
      return 1;
    }
    text[i] = *params[i];
  }
  uint8_t bytes[kAddressSize];
  if (bt_addr_ascii_to_hexa(text, bytes) != 0) return 1;
  if (bt_addr_write(bytes) != 0) {
    BT_LOGE("cannot write the Bluetooth address\n");
    return 1;
  }
  return bt_resp(0, out, "BLUETOOTH ADDRESS WRITE OK");
}
