#include "channel/request_channel.h"

#include <pthread.h>
#include <string.h>

#include "channel/opcodes.h"
#include "platform/log.h"
#include "platform/modem_interface.h"
#include "platform/properties.h"
#include "platform/records.h"
#include "text/scoped_lock.h"
#include "transport/at_socket.h"

using namespace atd;

namespace {

pthread_mutex_t g_modem_request_lock = PTHREAD_MUTEX_INITIALIZER;
// The last result of dmi_init; 0 means that the interface is ready. Under the lock.
int g_modem_interface_status = -1;

int init_locked(int arg) {
  g_modem_interface_status = dmi_init(arg);
  SLOGI("[init_modem_interface] dmi_init :%d\n", g_modem_interface_status);
  return g_modem_interface_status;
}

int ask_platform(rzcmd_request* req, rzcmd_response* rsp) {
  char boot[PROPERTY_VALUE_MAX] = "";
  if (system_property_get("ro.factorytest", boot) > 0) {
    if (boot[0] == '0') SLOGI("[COMMON_INTERFACE] Normal Boot : Call request_to_android");
    else if (boot[0] == '1' || boot[0] == '2') SLOGI("[COMMON_INTERFACE] Minios Boot : Call request_to_minios");
    else SLOGI("[COMMON_INTERFACE] Unknown Boot Mode : Call anything");
  }
  int outcome = request_to_android(req, rsp);
  SLOGI("[COMMON_INTERFACE] Receive result value from request_to_android");
  if (outcome != 0) return RZCMD_FAIL;
  if (req->opcode == kPlatform1011 || req->opcode == kPlatform1012) return RZCMD_OK;
  return rsp->result;
}

int ask_modem(rzcmd_request* req, rzcmd_response* rsp) {
  SLOGI("[COMMON_INTERFACE] Call request_to_modem");
  ScopedLock lock(g_modem_request_lock);
  memset(rsp, 0, sizeof *rsp);
  SLOGI("[DMI] request_to_modem:__START!\n");
  int outcome;
  if (g_modem_interface_status != 0) {
    outcome = init_locked(g_modem_interface_status);
    if (outcome != 0) SLOGE("[DMI] request_to_modem : DMI is not initialized.");
    else outcome = request_to_modem_via_dmi(req, rsp);
  } else {
    outcome = request_to_modem_via_dmi(req, rsp);
    if (outcome != 0) {
      SLOGI("[DMI] request_to_modem : init dmi again.");
      g_modem_interface_status = -1;
      init_locked(dmi_client_handle_release(-1));
      memset(rsp, 0, sizeof *rsp);
      outcome = request_to_modem_via_dmi(req, rsp);
    }
  }
  SLOGI("[DMI] request_to_modem return value is %d\n", outcome);
  return outcome == 0 ? RZCMD_OK : RZCMD_FAIL;
}

int fail(int error, const char* out_data, int* out_len) {
  SLOGE("Cannot get response. Return error!\n");
  if (out_data && out_len) *out_len = -1;
  return error;
}

}  // namespace

int init_modem_interface(int arg) {
  ScopedLock lock(g_modem_request_lock);
  return init_locked(arg);
}

int request_to_system(int opcode, const char* data, int len, char* out_data, int* out_len, int* out_status) {
  rzcmd_request req = {};
  rzcmd_response rsp = {};
  req.opcode = opcode;
  // A payload that does not fit is refused whole: the modem would take half a request for another one.
  bool fits = !data || len <= MAX_RZCMD_REQ_SIZE;
  if (data && len > 0 && fits) {
    req.data_len = len;
    memcpy(req.data, data, static_cast<size_t>(len));
  }
  SLOGI("[COMMON_INTERFACE] RZCMD OPCODE: %d", opcode);
  if (!is_modem_opcode(opcode) && !is_platform_opcode(opcode)) {
    SLOGE("[COMMON_INTERFACE] Invalid OPCODE");
    return fail(kNotSupported, out_data, out_len);
  }
  int error = !fits ? RZCMD_FAIL : is_modem_opcode(opcode) ? ask_modem(&req, &rsp) : ask_platform(&req, &rsp);
  if (error == 0 && bounded_length(rsp.data_len) != rsp.data_len) error = RZCMD_FAIL;
  if (error != 0) return fail(error, out_data, out_len);
  if (out_data) {
    SLOGI("Response Status: %d\n", rsp.result_status);
    memcpy(out_data, rsp.data, static_cast<size_t>(rsp.data_len));
  }
  if (out_len) *out_len = rsp.data_len;
  if (out_status) *out_status = rsp.result_status;
  return 0;
}
