#include "system/power_handlers.h"

#include <string.h>

#include "factory/item_registry.h"
#include "factory/items.h"
#include "platform/os.h"
#include "system/environment.h"
#include "system/power.h"
#include "system/requests.h"
#include "text/number.h"
#include "transport/response.h"

namespace atd {

namespace {

// Sets the boot status and ends the phone's run; the result for the response.
int end_into(int status, int (*end)()) {
  if (set_bootstatus(status) != 0) return RZCMD_FAIL;
  if (end() == 0) return RZCMD_OK;
  set_bootstatus(0);
  return RZCMD_FAIL;
}

int sync_and_download() {
  os_sync();
  return system_dload();
}

}  // namespace

void handle_fwx_start(const char* data, rzcmd_response* rsp) {
  int status;
  if (!*data) return respond(rsp, RZCMD_OK);
  respond(rsp, parse_number(data, &status) ? end_into(status, system_restart) : RZCMD_FAIL);
}

// The response stays as it came, whatever becomes of the sync.
void handle_efs_sync(rzcmd_response*) { system_efs_sync(); }

void handle_qct_bsp_pwr_hardreset_enable(const char* data, rzcmd_response* rsp) {
  respond(rsp, system_powerkey_hardreset_enable(data[0]));
}

void handle_sdcard_download(const char* data, rzcmd_response* rsp) {
  // Without a path there is nothing to download.
  if (!*data) return respond(rsp, RZCMD_FAIL);
  char path[item<90>.length] = {};
  memcpy(path, data, strnlen(data, sizeof path));
  respond(rsp, set_sdcard_download_path(path) == 0 ? end_into(1, sync_and_download) : RZCMD_FAIL);
}

}  // namespace atd
