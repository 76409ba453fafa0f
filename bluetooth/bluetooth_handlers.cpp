#include "bluetooth/bluetooth_handlers.h"

#include "bluetooth/address.h"
#include "factory/bluetooth_address.h"
#include "transport/response.h"

namespace atd {

void handle_automid_btaddr(const char* text, rzcmd_response* rsp) {
  if (*text) return respond(rsp, handle_testmode_bt_write_request(text));
  char address[64];
  const int result = handle_testmode_bt_read_request(address);
  respond_text(rsp, address, result);
}

}  // namespace atd
