#include "dispatch/service_handler.h"

#include "dispatch/opcode_table.h"
#include "platform/log.h"
#include "transport/at_socket.h"
#include "transport/response.h"

namespace atd {

namespace {

void run_text(const Opcode& row, const rzcmd_request* req, rzcmd_response* rsp) {
  const char* text = request_text(req);
  // A payload without a terminator is a write, although its text is empty; it must not run as a read.
  if (row.payload == Payload::optional && *text == '\0' && req->data[0] != '\0') return respond(rsp, RZCMD_FAIL);
  row.handler.text(text, rsp);
}

void run(const Opcode& row, rzcmd_request* req, rzcmd_response* rsp) {
  switch (row.handler.shape) {
    case Handler::Shape::none: return respond(rsp, kNotSupported);
    case Handler::Shape::answer: return row.handler.answer(rsp);
    case Handler::Shape::text: return run_text(row, req, rsp);
    case Handler::Shape::record: return row.handler.record(req, rsp);
  }
}

}  // namespace

int service_handler(rzcmd_request* req, rzcmd_response* rsp) {
  SLOGI("service_handler: opcode = %d\n", req->opcode);
  if (const Opcode* row = find_opcode(req->opcode)) run(*row, req, rsp);
  return 0;
}

int request_from_android(rzcmd_request* req, rzcmd_response* rsp) { return service_handler(req, rsp); }

}  // namespace atd
