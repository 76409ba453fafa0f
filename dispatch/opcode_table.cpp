#include "dispatch/opcode_table.h"

#include <string.h>

#include <algorithm>

#include "atd.h"
#include "connectivity/address.h"
#include "dispatch/handlers.h"
#include "factory/item_handlers.h"
#include "factory/modem_handlers.h"
#include "transport/response.h"

namespace atd {

namespace {

// A handler is one of three shapes; each stands in the table as a function of both records.
template <void (*handler)(rzcmd_response*)>
void answer(rzcmd_request*, rzcmd_response* rsp) {
  handler(rsp);
}

template <void (*handler)(const char*, rzcmd_response*)>
void text(rzcmd_request* req, rzcmd_response* rsp) {
  handler(request_text(req), rsp);
}

// With the empty text the handler reads; a payload without its terminator is a write that nobody may take for that.
template <void (*handler)(const char*, rzcmd_response*)>
void text_or_none(rzcmd_request* req, rzcmd_response* rsp) {
  const char* given = request_text(req);
  if (*given == '\0' && req->data[0] != '\0') return respond(rsp, RZCMD_FAIL);
  handler(given, rsp);
}

template <void (*handler)(const char*, int, rzcmd_response*)>
void bytes(rzcmd_request* req, rzcmd_response* rsp) {
  handler(req->data, bounded_length(req->data_len), rsp);
}

template <void (*handler)(int, rzcmd_response*)>
void opcode(rzcmd_request* req, rzcmd_response* rsp) {
  handler(req->opcode, rsp);
}

// The response stays as it came, whatever becomes of it.
void efs_sync(rzcmd_request*, rzcmd_response*) { system_efs_sync(); }

template <int kind>
void production_reset(rzcmd_request*, rzcmd_response* rsp) {
  respond(rsp, tav_reset_production(kind));
}

template <void (*handler)(const char*, rzcmd_response*)>
void raw(rzcmd_request* req, rzcmd_response* rsp) {
  handler(req->data, rsp);
}

using P = Payload;
using A = Answer;

constexpr Opcode kOpcodes[] = {
    // clang-format off
    {3170, "set_dload_mode",           P::bytes,    A::result, 0,                      raw<handle_set_dload_mode>},
    {3171, "get_dload_mode",           P::none,     A::text,   0,                      answer<handle_get_dload_mode>},
    {3200, "get_wine_ime",             P::none,     A::byte,   0,                      answer<handle_get_wine_ime>},
    {3201, "set_wine_ime",             P::bytes,    A::result, 0,                      bytes<handle_set_wine_ime>},
    {4001, "aat_result",               P::text,     A::text,   0,                      not_built},
    {4002, "frst_start",               P::number,   A::result, kDestructive | kModem,  not_built},
    {4003, "charger_skip",             P::number,   A::result, 0,                      text<handle_charger_skip>},
    {4004, "devicetest_start",         P::number,   A::result, kDestructive | kModem,  not_built},
    {4005, "factory_mode_check",       P::none,     A::byte,   kModem,                 not_built},
    {4006, "qfuse_check",              P::none,     A::text,   0,                      not_supported},
    {4007, "fwx_start",                P::number,   A::result, kDestructive | kModem,  not_built},
    {4008, "sniff_config",             P::text,     A::result, 0,                      not_built},
    {4009, "sniff_w_mid",              P::none,     A::result, kDestructive | kModem,  opcode<handle_sniff_w_mid>},
    {4010, "get_serial_number",        P::none,     A::text,   0,                      answer<handle_get_serial_number>},
    {4011, "get_factory_version_2",    P::none,     A::text,   0,                      not_built},
    {4012, "get_hw_revision",          P::none,     A::text,   0,                      not_built},
    {4013, "get_code_crc",             P::none,     A::text,   0,                      not_built},
    {4015, "get_msn",                  P::none,     A::text,   0,                      answer<handle_get_msn>},
    {4016, "get_manuf_date",           P::none,     A::text,   0,                      answer<handle_get_manuf_date>},
    {4017, "get_set_revision",         P::none,     A::text,   0,                      not_built},
    {4018, "get_csn",                  P::none,     A::text,   0,                      answer<handle_get_csn>},
    {4019, "get_factory_version_1",    P::none,     A::text,   0,                      not_built},
    {4020, "efs_sync",                 P::none,     A::result, kModem,                 efs_sync},
    {4021, "rfsw_get_cal_data",        P::none,     A::text,   kModem,                 not_built},
    {4024, "get_sw_fixed_area_version",P::none,     A::text,   0,                      answer<handle_get_sw_fixed_area_version>},
    {4025, "get_hiddenmenu_enable",    P::none,     A::text,   0,                      not_built},
    {4030, "sim_issim",                P::text,     A::text,   kModem,                 not_built},
    {4031, "sim_simoff",               P::text,     A::text,   kModem,                 not_built},
    {4032, "sim_isvsim",               P::text,     A::text,   kModem,                 not_built},
    {4033, "sim_satpc_0",              P::none,     A::text,   kModem,                 opcode<handle_sim_satpc>},
    {4034, "sim_satpc_1",              P::none,     A::text,   kModem,                 opcode<handle_sim_satpc>},
    {4040, "pwr_hardreset_enable",     P::none,     A::result, kModem,                 not_built},
    {4059, "get_nv_crc",               P::none,     A::text,   kModem,                 not_built},
    {4060, "crcwizard_set",            P::text,     A::result, 0,                      not_built},
    {4061, "crcwizard_get",            P::none,     A::text,   0,                      not_built},
    {4062, "get_file_crc",             P::none,     A::text,   0,                      not_built},
    {4063, "get_file_dump",            P::none,     A::text,   0,                      not_built},
    {4064, "automid_imei",             P::optional, A::text,   kModem,                 text_or_none<handle_automid_imei>},
    {4065, "automid_mac",              P::optional, A::text,   0,                      text_or_none<handle_automid_mac>},
    {4066, "automid_btaddr",           P::optional, A::text,   0,                      not_built},
    {4068, "get_impl",                 P::none,     A::text,   kModem,                 answer<handle_get_impl>},
    {4069, "get_fusg",                 P::none,     A::text,   kModem,                 answer<handle_get_fusg>},
    {4070, "tpm_read_pcr",             P::bytes,    A::bytes,  0,                      not_supported},
    {4071, "tpm_write_pcr",            P::bytes,    A::result, kDestructive,           not_supported},
    {4072, "tpm_save_pcr",             P::bytes,    A::result, kDestructive,           not_supported},
    {4073, "tpm_extend",               P::bytes,    A::result, kDestructive,           not_supported},
    {4074, "tpm_quote",                P::bytes,    A::bytes,  0,                      not_supported},
    {4075, "tpm_quote_info",           P::bytes,    A::bytes,  0,                      not_supported},
    {4076, "tpm_verify_rsa_key",       P::bytes,    A::result, 0,                      not_supported},
    {4077, "tpm_load_app",             P::none,     A::result, 0,                      not_supported},
    {4078, "tpm_terminate_app",        P::none,     A::result, 0,                      not_supported},
    {4079, "mirrorlink_confirm_keys",  P::none,     A::result, 0,                      not_supported},
    {4080, "set_diag_tty_block",       P::bytes,    A::result, 0,                      handle_set_diag_tty_block},
    {4081, "get_diag_tty_block",       P::none,     A::byte,   0,                      handle_get_diag_tty_block},
    {4090, "aatset_write",             P::text,     A::result, 0,                      not_built},
    {4091, "aat_orderset_write",       P::text,     A::result, 0,                      not_built},
    {4180, "aat_write_start",          P::text,     A::result, kDestructive | kModem,  not_built},
    {4211, "fp_spi_test",              P::none,     A::text,   0,                      not_built},
    {4212, "fp_zone_test",             P::none,     A::text,   0,                      not_built},
    {4213, "fp_checkboard_test",       P::none,     A::text,   0,                      not_built},
    {4215, "get_ldaf_cal",             P::none,     A::bytes,  0,                      answer<handle_get_ldaf_cal>},
    {4230, "get_saat_result",          P::none,     A::text,   0,                      not_built},
    {4231, "set_saat_result",          P::text,     A::result, 0,                      not_built},
    {4232, "saat_proxi_sync",          P::text,     A::result, 0,                      not_built},
    {4240, "read_flex_gpio_sum",       P::none,     A::bytes,  0,                      not_built},
    {4241, "write_flex_gpio_sum",      P::bytes,    A::result, 0,                      not_built},
    {4266, "sdcard_download",          P::text,     A::result, kDestructive | kModem,  not_built},
    {4293, "write_imei",               P::bytes,    A::text,   kDestructive | kModem,  handle_write_imei},
    {4294, "read_imei",                P::none,     A::text,   kModem,                 answer<handle_read_imei>},
    {4295, "read_startday",            P::none,     A::text,   kModem,                 not_built},
    {4296, "get_image_status",         P::none,     A::byte,   0,                      answer<handle_get_image_status>},
    {4297, "get_image_secno",          P::none,     A::bytes,  0,                      answer<handle_get_image_secno>},
    {4298, "get_image_name",           P::none,     A::text,   0,                      answer<handle_get_image_name>},
    {4400, "read_meid",                P::none,     A::text,   kModem,                 answer<handle_read_meid>},
    {4401, "read_pesn",                P::none,     A::text,   kModem,                 answer<handle_read_pesn>},
    {4402, "get_ram_size",             P::none,     A::text,   0,                      not_built},
    {4403, "not_supported",            P::none,     A::result, 0,                      not_supported},
    {4404, "get_sku",                  P::none,     A::text,   0,                      not_built},
    {4405, "reset_production_1",       P::none,     A::result, kDestructive | kModem,  production_reset<1>},
    {4406, "reset_production_0",       P::none,     A::result, kDestructive | kModem,  production_reset<0>},
    {4407, "get_midauto_result",       P::none,     A::text,   0,                      not_built},
    {4408, "set_midauto_result",       P::text,     A::result, 0,                      not_built},
    {4409, "get_midauto_crc_0",        P::none,     A::text,   0,                      not_built},
    {4410, "get_midauto_crc_1",        P::none,     A::text,   0,                      not_built},
    {4411, "get_midauto_crc_2",        P::none,     A::text,   0,                      not_built},
    {4412, "get_midauto_crc_3",        P::none,     A::text,   0,                      not_built},
    {4413, "midauto_read_imei2",       P::none,     A::text,   kModem,                 answer<handle_midauto_read_imei2>},
    {4414, "midauto_read_imei3",       P::none,     A::text,   kModem,                 answer<handle_midauto_read_imei3>},
    // clang-format on
};

static_assert(std::adjacent_find(std::begin(kOpcodes), std::end(kOpcodes), [](const Opcode& a, const Opcode& b) {
                return a.number >= b.number;
              }) == std::end(kOpcodes), "opcodes stand in ascending order, each once");

}  // namespace

std::span<const Opcode> opcodes() { return kOpcodes; }

const Opcode* find_opcode(int number) {
  const Opcode* row = std::lower_bound(std::begin(kOpcodes), std::end(kOpcodes), number,
                                       [](const Opcode& a, int wanted) { return a.number < wanted; });
  return row != std::end(kOpcodes) && row->number == number ? row : nullptr;
}

const Opcode* find_opcode(const char* name) {
  for (const Opcode& row : kOpcodes) {
    if (strcmp(row.name, name) == 0) return &row;
  }
  return nullptr;
}

State state(const Opcode& row) {
  if (row.handler == not_built) return State::not_built;
  return row.handler == not_supported ? State::unsupported : State::built;
}

const char* to_text(Payload payload) {
  switch (payload) {
    case Payload::none: return "-";
    case Payload::text: return "text";
    case Payload::optional: return "text or none";
    case Payload::number: return "number";
    case Payload::bytes: return "bytes";
  }
  return "?";
}

const char* to_text(Answer answer) {
  switch (answer) {
    case Answer::result: return "result";
    case Answer::text: return "text";
    case Answer::byte: return "byte";
    case Answer::bytes: return "bytes";
  }
  return "?";
}

const char* to_text(State state) {
  switch (state) {
    case State::built: return "built";
    case State::unsupported: return "not supported";
    case State::not_built: return "not built";
  }
  return "?";
}

}  // namespace atd
