#include "reset/reset_handlers.h"

#include "platform/log.h"
#include "reset/hidden_reset.h"
#include "reset/production_reset.h"
#include "text/number.h"
#include "transport/response.h"

namespace atd {

namespace {

int start(int number) {
  switch (number) {
    case 1: return hidden_factoryreset_sdcard();
    case 2: return tav_reset_production(100);
    case 3: return tav_reset_production(102);
    case 4: return tav_reset_production(101);
    case 5: return hidden_factoryreset_sdcard_power_off();
    default: return kNotSupported;
  }
}

}  // namespace

void handle_frst_start(const char* data, rzcmd_response* rsp) {
  SLOGI("FRST START");
  int number = 0;
  if (*data && !parse_number(data, &number)) return respond(rsp, RZCMD_FAIL);
  const int result = start(number);
  respond(rsp, result == RZCMD_OK || result == RZCMD_FAIL ? result : kNotSupported);
}

void handle_read_startday(rzcmd_response* rsp) { respond(rsp, tav_reset_production(2)); }
void handle_reset_production_1(rzcmd_response* rsp) { respond(rsp, tav_reset_production(1)); }
void handle_reset_production_0(rzcmd_response* rsp) { respond(rsp, tav_reset_production(0)); }

}  // namespace atd
