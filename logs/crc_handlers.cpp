#include "logs/crc_handlers.h"

#include "factory/items.h"
#include "logs/crc_command.h"
#include "logs/crc_text.h"
#include "text/number.h"
#include "transport/response.h"

namespace atd {

namespace {

void answer(rzcmd_response* rsp, int (*command)(int type, char* out), int type) {
  char out[kCrcAnswerSize];
  const int result = command(type, out);
  respond_text(rsp, out, result);
}

}  // namespace

void handle_get_code_crc(rzcmd_response* rsp) { answer(rsp, crc_command, 2); }
void handle_get_nv_crc(rzcmd_response* rsp) { answer(rsp, crc_command, 6); }
void handle_get_file_crc(rzcmd_response* rsp) { answer(rsp, crc_command, 5); }
void handle_get_file_dump(rzcmd_response* rsp) { answer(rsp, crcwizard_command, 0); }

void handle_crcwizard_set(const char* data, rzcmd_response* rsp) {
  int number;
  respond(rsp, parse_number(data, &number) && set_crcwizard(number) == 0 ? RZCMD_OK : RZCMD_FAIL);
}

void handle_crcwizard_get(rzcmd_response* rsp) {
  char digit[2] = "";
  if (get_crcwizard(digit) != 0) return respond(rsp, RZCMD_FAIL);
  respond_text(rsp, digit);
}

}  // namespace atd
