#include "factory/modem_handlers.h"

#include <string.h>

#include "channel/opcodes.h"
#include "factory/modem_items.h"
#include "platform/log.h"
#include "text/text_writer.h"
#include "transport/response.h"

namespace atd {

namespace {

// Room for an answer of the modem, one byte longer than the longest, so that it always ends in a NUL.
struct ModemAnswer {
  char data[MAX_RZCMD_REQ_SIZE + 1] = {};
  int length = 0;
};

// Answers a modem request's error, or its answer.
void respond_answer(rzcmd_response* rsp, int error, const ModemAnswer& answer) {
  if (error != 0) respond(rsp, error);
  else respond_bytes(rsp, answer.data, answer.length);
}

void answer_imei(rzcmd_response* rsp, int opcode) {
  ModemAnswer imei;
  if (read_tav_imei(opcode, "", 0, imei.data, &imei.length) != 0 || imei.length < 1) return respond(rsp, RZCMD_FAIL);
  // A text that does not fit the station's field travels without its length.
  respond_bytes(rsp, imei.data, imei.length < 256 ? imei.length : 255);
  if (imei.length >= 256) rsp->data_len = 0;
}

void answer_satpc(rzcmd_response* rsp, int mode) {
  ModemAnswer answer;
  int error = tav_satpc_req(mode, "", 0, answer.data, &answer.length);
  respond_answer(rsp, error, answer);
}

}  // namespace

void handle_automid_imei(const char* text, rzcmd_response* rsp) {
  if (!*text) return answer_imei(rsp, kImeiRead);
  char imei[MAX_RZCMD_REQ_SIZE] = {};
  int length = static_cast<int>(TextWriter(imei).text(text).length());
  if (length == 14 && strspn(imei, "0123456789") == 14) make_imei_chksum(imei, length++);
  ModemAnswer answer;
  int error = write_tav_imei(kImeiWrite, imei, length, answer.data, &answer.length);
  respond(rsp, error == 0 && strncmp(answer.data, "IMEI WRITE OK", 13) == 0 ? RZCMD_OK : RZCMD_FAIL);
}

void handle_write_imei(rzcmd_request* req, rzcmd_response* rsp) {
  SLOGI("RZCMD_MODEM_WRITE_IMEI");
  ModemAnswer answer;
  int error = write_tav_imei(kImeiWrite, req->data, bounded_length(req->data_len), answer.data, &answer.length);
  respond_answer(rsp, error != 0 ? RZCMD_FAIL : RZCMD_OK, answer);
}

void handle_read_imei(rzcmd_response* rsp) {
  SLOGI("RZCMD_MODEM_READ_IMEI");
  answer_imei(rsp, kImeiRead);
}

void handle_midauto_read_imei2(rzcmd_response* rsp) { answer_imei(rsp, kImei2Read); }
void handle_midauto_read_imei3(rzcmd_response* rsp) { answer_imei(rsp, kImei3Read); }

void handle_read_meid(rzcmd_response* rsp) {
  ModemAnswer answer;
  if (read_tav_meid(answer.data, &answer.length) != 0) answer.length = 0;
  respond_answer(rsp, RZCMD_OK, answer);
}

void handle_read_pesn(rzcmd_response* rsp) {
  ModemAnswer answer;
  int error = read_tav_pesn(answer.data, &answer.length);
  respond_answer(rsp, error != 0 ? RZCMD_FAIL : RZCMD_OK, answer);
}

void handle_get_impl(rzcmd_response* rsp) {
  ModemAnswer answer;
  int error = read_tav_impl("", 0, answer.data, &answer.length);
  respond_answer(rsp, error, answer);
}

void handle_get_fusg(rzcmd_response* rsp) {
  ModemAnswer answer;
  int error = read_tav_fusg("", 0, answer.data, &answer.length);
  respond_answer(rsp, error, answer);
}

void handle_sim_satpc_0(rzcmd_response* rsp) { answer_satpc(rsp, 0); }
void handle_sim_satpc_1(rzcmd_response* rsp) { answer_satpc(rsp, 1); }

}  // namespace atd
