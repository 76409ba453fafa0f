#include "dispatch/service_handler.h"

#include "dispatch/opcode_table.h"
#include "platform/log.h"
#include "transport/at_socket.h"

namespace atd {

int service_handler(rzcmd_request* req, rzcmd_response* rsp) {
  SLOGI("service_handler: opcode = %d\n", req->opcode);
  if (const Opcode* row = find_opcode(req->opcode)) row->handler(req, rsp);
  return 0;
}

int request_from_android(rzcmd_request* req, rzcmd_response* rsp) { return service_handler(req, rsp); }

}  // namespace atd
