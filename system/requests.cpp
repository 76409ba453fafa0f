#include "system/requests.h"

#include <string.h>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "channel/text_answer.h"
#include "factory/item_registry.h"
#include "factory/items.h"
#include "platform/log.h"
#include "platform/properties.h"
#include "platform/records.h"
#include "system/modem_test.h"
#include "text/property.h"
#include "text/text_writer.h"

using namespace atd;

int system_powerkey_hardreset_enable(char c) {
  TextAnswer response;
  const char enable = c == '0' ? 0 : 1;
  if (response.ask(kHardResetKey, &enable, 1) != 0) return 1;
  return static_cast<unsigned char>(response.text[0]) == 255 ? 1 : 0;
}

int system_set_caldata_check_prop() {
  TextAnswer response;
  if (response.ask(kCalibrationCheck) != 0) {
    SLOGE("%s: failed to check cal data.", __func__);
    return -1;
  }
  SLOGI("%s: %s\n", __func__, response.text);
  char value[PROPERTY_VALUE_MAX];
  TextWriter(value).text(response.text);
  system_property_set("sys.tav.caldata_check", value);
  return 0;
}

int get_low_batt_port_block_check() {
  if (qem_get_status != 1 || first_character("sys.cmd_block") != '1') return 0;
  char found[MAX_RZCMD_REQ_SIZE + 1] = {};
  return tav_cal_data_check(found) != 0 || found[0] != '0' ? 1 : 0;
}

int system_osupgrade_notify() {
  SLOGI("[%s] check os upgrade flag\n", __func__);
  char flag[item<3586>.length] = {};
  if (get_os_upgrade_flag_ftm_item(flag) != 0) return 0;
  const int length = static_cast<int>(strlen(flag));
  if (length < 3) return 0;
  SLOGI("[%s] os upgrade flag : %s, len = %d\n", __func__, flag, length);
  const int error = request_to_system(kOsUpgrade, nullptr, 0, nullptr, nullptr, nullptr);
  SLOGI("[%s] ret = %d\n", __func__, error);
  const char none[item<3586>.length] = {};
  set_os_upgrade_flag_ftm_item(none);
  return 0;
}

int detach(char** arguments, int count, char* response) {
  if (!arguments || !response) return RZCMD_FAIL;
  char data[MAX_RZCMD_REQ_SIZE];
  TextWriter text(data);
  for (int i = 0; i < count; ++i) text.text(i > 0 ? "," : "").text(arguments[i]);
  const int data_length = static_cast<int>(text.length());
  SLOGI("[ATdetachreq] c.data : %s\n", data);
  SLOGI("[ATdetachreq] req.len : %d\n", data_length);
  TextAnswer answer;
  const int error = answer.ask(kDetach, data, data_length);
  answer.copy_to(response);
  SLOGI("[ATdetachreq] rsp->result_status : %d\n", answer.status);
  SLOGI("[ATdetachreq] rsp->result_data : %s\n", answer.text);
  SLOGI("[ATdetachreq] rsp->result_data_len : %d\n", answer.length);
  return error;
}

int pattern_clear(const char* text, char* response) {
  TextAnswer answer;
  const int error = answer.ask(kPatternClear, text, static_cast<int>(strnlen(text, MAX_RZCMD_REQ_SIZE + 1)));
  answer.copy_to(response);
  return error;
}

int get_phone_number(char* out, int* length) {
  SLOGI("Get phone number.\n");
  TextAnswer answer;
  const int error = answer.ask(kPhoneNumber);
  answer.copy_to(out);
  *length = answer.length;
  return error;
}

int get_mcc_list(const char* text, char* out) {
  TextWriter list(out, MAX_RZCMD_REQ_SIZE);
  size_t quotes = 0;
  for (; *text; ++text) {
    if (*text == '"') ++quotes;
    // The first quoted text is the list's name.
    const bool inside = quotes % 2 == 1;
    if (inside && list.length() < quotes / 2 * 4 && text[1]) list.put(text[1]);
  }
  // Three characters of a code, and what came after them.
  for (size_t i = 3; i < list.length(); i += 4) out[i] = ',';
  if (list.length() > 0) out[list.length() - 1] = '\0';
  return 0;
}
