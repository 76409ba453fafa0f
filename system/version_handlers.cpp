#include "system/version_handlers.h"

#include "system/hw_version.h"
#include "system/versions.h"
#include "transport/response.h"

namespace atd {

namespace {

void answer_factory_version(int kind, rzcmd_response* rsp) {
  char version[128];
  int length;
  if (get_tav_factory_sw_version(kind, version, &length) != 0) return respond(rsp, RZCMD_FAIL);
  respond_text(rsp, version);
}

}  // namespace

void handle_get_factory_version_1(rzcmd_response* rsp) { answer_factory_version(1, rsp); }
void handle_get_factory_version_2(rzcmd_response* rsp) { answer_factory_version(2, rsp); }

void handle_get_hw_revision(rzcmd_response* rsp) {
  char version[128] = "";
  int length = 0;
  if (get_tav_hw_version(version, &length) != 0) return respond(rsp, RZCMD_FAIL);
  respond_text(rsp, version);
}

}  // namespace atd
