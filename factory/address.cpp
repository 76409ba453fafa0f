#include "factory/address.h"

#include <stdint.h>
#include <string.h>

#include "factory/bluetooth_address.h"
#include "factory/bluetooth_log.h"
#include "factory/item_handlers.h"
#include "factory/item_registry.h"
#include "platform/log.h"
#include "platform/properties.h"
#include "text/hex.h"
#include "text/text_writer.h"
#include "transport/response.h"

namespace atd {

namespace {

// Fills six bytes from the text's first 12 digits. Returns null, or the first character that is not a digit.
const char* parse_address(const char* text, uint8_t* bytes) {
  for (int i = 0; i < kAddressDigits; ++i) {
    int value = hex_digit(text[i]);
    if (value < 0) return text + i;
    bytes[i / 2] = static_cast<uint8_t>(i % 2 == 0 ? value << 4 : bytes[i / 2] | value);
  }
  return nullptr;
}

bool is_zero(const void* bytes) {
  constexpr uint8_t kZero[kAddressSize] = {};
  return memcmp(bytes, kZero, sizeof kZero) == 0;
}

int wlan_mac_read(void* bytes) {
  if (read_item(item<6>, bytes) < 0) return 1;
  if (!is_zero(bytes)) return 0;
  SLOGE("wlan_mac_read : invalid mac_addr_hexa");
  return 1;
}

int wlan_mac_write(const void* bytes) { return write_item(item<6>, bytes) < 0 ? 1 : 0; }

int wlan_mac_assign(const char* text) {
  uint8_t bytes[kAddressSize];
  return parse_address(text, bytes) ? 1 : wlan_mac_write(bytes);
}

}  // namespace

void handle_automid_mac(const char* text, rzcmd_response* rsp) {
  if (*text) {
    if (wlan_mac_assign(text) != 0) return respond(rsp, RZCMD_FAIL);
    SLOGI("AutoMID write WIFI MAC Success :)");
    return respond(rsp, RZCMD_OK);
  }
  uint8_t bytes[kAddressSize];
  char address[kAddressDigits + 1];
  if (wlan_mac_read(bytes) != 0) return respond(rsp, RZCMD_FAIL);
  bt_addr_hexa_to_ascii(bytes, address);
  respond_text(rsp, address);
}

}  // namespace atd

using namespace atd;

int bt_addr_ascii_to_hexa(const char* text, void* bytes) {
  const char* foreign = parse_address(text, static_cast<uint8_t*>(bytes));
  if (!foreign) return 0;
  BT_LOGE("bt_addr_assign : invalid Params = %c\n", *foreign);
  return 1;
}

void bt_addr_hexa_to_ascii(const void* bytes, char* text) {
  TextWriter(text, kAddressDigits + 1).hex(bytes, kAddressSize);
}

int bt_addr_read(void* bytes) {
  if (!bytes) return 1;
  memset(bytes, 0xFF, kAddressSize);
  return read_item(item<8>, bytes) < 0 || is_zero(bytes) ? 1 : 0;
}

int bt_addr_write(const void* bytes) { return bytes && write_item(item<8>, bytes) >= 0 ? 0 : 1; }

int handle_testmode_bt_write_request(const char* text) {
  uint8_t bytes[kAddressSize];
  if (!text || strnlen(text, kAddressDigits + 1) != kAddressDigits) {
    BT_LOGE("an address has %d digits\n", kAddressDigits);
    return 1;
  }
  if (bt_addr_ascii_to_hexa(text, bytes) != 0) return 1;
  if (bt_addr_write(bytes) != 0) {
    BT_LOGE("cannot write the Bluetooth address\n");
    return 1;
  }
  SLOGI("[BTUI] tav_load_bluetooth_address");
  if (system_property_set("ctl.start", "bdaddr_loader") != 0) SLOGE("[BTUI] Failed to start bdaddr_loader");
  return 0;
}
