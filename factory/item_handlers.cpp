#include "factory/item_handlers.h"

#include <stdint.h>
#include <string.h>

#include "factory/item_registry.h"
#include "factory/items.h"
#include "platform/log.h"
#include "text/number.h"
#include "text/text_writer.h"
#include "transport/response.h"

namespace atd {

namespace {

int read_text(const FactoryItem& item, char* out) {
  memset(out, 0, static_cast<size_t>(item.length) + 1);
  return read_item(item, out) < 0 ? -1 : 0;
}

void answer_text(rzcmd_response* rsp, const FactoryItem& item, const char* when_empty = "") {
  char text[MAX_RZCMD_REQ_SIZE];
  if (read_text(item, text) != 0) return respond(rsp, RZCMD_FAIL);
  respond_text(rsp, *text ? text : when_empty);
}

void answer_bytes(rzcmd_response* rsp, const FactoryItem& item) {
  char bytes[MAX_RZCMD_REQ_SIZE];
  if (read_item(item, bytes) < 0) return respond(rsp, RZCMD_FAIL);
  respond_bytes(rsp, bytes, item.length);
}

}  // namespace

int tav_factory_serial_number_read(char* out) { return read_text(item<9>, out); }
int tav_factory_msn_read(char* out) { return read_text(item<18>, out); }
int tav_factory_manufacture_date_read(char* out) { return read_text(item<19>, out); }
int tav_factory_csn_read(char* out) { return read_text(item<37>, out); }

int tav_factory_serial_number_write(const char* text) {
  char buffer[item<9>.length] = {};
  memcpy(buffer, text, strnlen(text, sizeof buffer));
  return write_item(item<9>, buffer) < 0 ? -1 : 0;
}

void handle_charger_skip(const char* data, rzcmd_response* rsp) {
  int number;
  if (!parse_number(data, &number)) return respond(rsp, RZCMD_FAIL);
  if (number == 2) {
    int skip = get_charger_skip();
    if (skip < 0) SLOGE("%s : cannot read item 10\n", "handle_charger_skip");
    return respond(rsp, skip > 0);
  }
  set_charger_skip(number);
  respond(rsp, RZCMD_OK);
}

void handle_set_dload_mode(rzcmd_request* req, rzcmd_response* rsp) {
  if (req->data[0] != 'o') return respond(rsp, RZCMD_FAIL);
  respond(rsp, write_item(item<129>, req->data) < 0 ? RZCMD_FAIL : RZCMD_OK);
}

void handle_get_dload_mode(rzcmd_response* rsp) {
  char mode[item<129>.length + 1];
  bool set = read_text(item<129>, mode) == 0 && mode[0] == 'o';
  respond_text(rsp, set ? mode : "off");
}

void handle_get_serial_number(rzcmd_response* rsp) { answer_text(rsp, item<9>, "0"); }
void handle_get_msn(rzcmd_response* rsp) { answer_text(rsp, item<18>); }
void handle_get_manuf_date(rzcmd_response* rsp) { answer_text(rsp, item<19>); }
void handle_get_csn(rzcmd_response* rsp) { answer_text(rsp, item<37>); }
void handle_get_set_revision(rzcmd_response* rsp) { answer_text(rsp, item<36>); }
void handle_get_sku(rzcmd_response* rsp) { answer_text(rsp, item<39>); }
void handle_get_sw_fixed_area_version(rzcmd_response* rsp) { answer_text(rsp, item<31>); }
void handle_get_image_name(rzcmd_response* rsp) { answer_text(rsp, item<215>); }
void handle_get_ldaf_cal(rzcmd_response* rsp) { answer_bytes(rsp, item<211>); }
void handle_get_image_status(rzcmd_response* rsp) { answer_bytes(rsp, item<213>); }
void handle_get_image_secno(rzcmd_response* rsp) { answer_bytes(rsp, item<214>); }
void handle_read_flex_gpio_sum(rzcmd_response* rsp) { answer_bytes(rsp, item<300>); }

void handle_write_flex_gpio_sum(rzcmd_request* req, rzcmd_response* rsp) {
  SLOGI("[%s] : %s\n", __func__, request_text(req));
  respond(rsp, set_gpio_sum(req->data) != 0 ? RZCMD_FAIL : RZCMD_OK);
}

void handle_sniff_config(const char* data, rzcmd_response* rsp) {
  SLOGI("[SNIFF] Set handle_sniff_config:%s\n", data);
  char config[item<89>.length] = {};
  memcpy(config, data, strnlen(data, sizeof config));
  respond(rsp, set_sniff_download_config(config) != 0 ? RZCMD_FAIL : RZCMD_OK);
}

void handle_get_hiddenmenu_enable(rzcmd_response* rsp) {
  const int enable = get_hiddenMenu_extension();
  if (enable == -1) return respond(rsp, RZCMD_FAIL);
  SLOGI("HiddenMenu: Enable/Disable[%d]\n", enable);
  char text[16];
  TextWriter(text).format("%d", enable);
  respond_text(rsp, text);
}

void handle_get_wine_ime(rzcmd_response* rsp) {
  int value = get_wine_ime();
  respond_byte(rsp, value);
  SLOGI("%s : %d\n", "handle_get_wine_ime", value);
}

void handle_set_wine_ime(rzcmd_request* req, rzcmd_response* rsp) {
  respond(rsp, set_wine_ime(req->data[0]) != 0 ? RZCMD_FAIL : RZCMD_OK);
}

}  // namespace atd
