#include "system/modem_test_handlers.h"

#include <stdint.h>

#include "factory/items.h"
#include "platform/log.h"
#include "platform/records.h"
#include "system/modem_test.h"
#include "text/number.h"
#include "transport/response.h"

namespace atd {

void handle_factory_mode_check(rzcmd_response* rsp) {
  if (get_qem() == 1) return respond_byte(rsp, 1);
  char mode[MAX_RZCMD_REQ_SIZE];
  int length, number;
  if (get_tav_test_script_mode(mode, &length) != 0) return respond(rsp, RZCMD_FAIL);
  if (!parse_number(mode, &number) || number < 0 || number > UINT8_MAX) {
    SLOGE("[%s] the test script's mode is no number of a byte: %s", __func__, mode);
    return respond(rsp, RZCMD_FAIL);
  }
  respond_byte(rsp, number, number == 2 ? kNotSupported : RZCMD_OK);
}

void handle_rfsw_get_cal_data(rzcmd_response* rsp) {
  char found[MAX_RZCMD_REQ_SIZE];
  if (tav_cal_data_check(found) != 0) return respond(rsp, RZCMD_FAIL);
  respond_text(rsp, found);
}

}  // namespace atd
