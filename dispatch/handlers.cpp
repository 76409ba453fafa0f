#include "dispatch/handlers.h"

#include <string.h>

#include <atomic>

#include "dispatch/diag_tty.h"
#include "factory/item_registry.h"
#include "factory/items.h"
#include "platform/log.h"
#include "system/power.h"
#include "transport/response.h"

namespace {

// Read by the host daemon's threads.
std::atomic<int> g_diag_tty_block{0};

}  // namespace

void set_diag_tty_block(int block) { g_diag_tty_block = block != 0; }

int diag_tty_blocked() { return g_diag_tty_block; }

namespace atd {

void handle_set_diag_tty_block(rzcmd_request* req, rzcmd_response* rsp) {
  SLOGI("hanlde_set_diag_tty_block(), req->data: %d", req->data[0]);
  set_diag_tty_block(req->data[0]);
  respond(rsp, RZCMD_OK);
}

void handle_get_diag_tty_block(rzcmd_response* rsp) {
  respond_byte(rsp, 0);
  SLOGI("hanlde_get_diag_tty_block(), rsp->data: %d", rsp->data[0]);
}

void handle_sniff_w_mid(rzcmd_response* rsp) {
  SLOGI("[SNIFF] handle_sniff_w_mid : frst(2)");
  constexpr char kMark[8] = "3";
  char data[item<88>.length] = {};
  // An item that cannot be read is not overwritten with an empty one.
  bool marked = read_item(item<88>, data) >= 0;
  if (marked) {
    memcpy(data + 68, kMark, sizeof kMark);
    marked = write_item(item<88>, data) >= 0;
  }
  if (!marked) SLOGE("[SNIFF] handle_sniff_w_mid : cannot mark item 88");
  respond(rsp, set_factory_status(2) != 0 || system_restart() != 0 ? RZCMD_FAIL : RZCMD_OK);
}

}  // namespace atd
