#include "dispatch/opcode_table.h"

#include <string.h>

#include <algorithm>

#include "bluetooth/bluetooth_handlers.h"
#include "devicetest/devicetest_handlers.h"
#include "dispatch/handlers.h"
#include "factory/item_handlers.h"
#include "factory/modem_handlers.h"
#include "logs/crc_handlers.h"
#include "reset/reset_handlers.h"
#include "storage/storage_handlers.h"
#include "system/modem_test_handlers.h"
#include "system/power_handlers.h"
#include "system/version_handlers.h"

namespace atd {

namespace {

using P = Payload;
using A = Answer;
using S = State;
constexpr unsigned D = kDestructive;
constexpr unsigned M = kModem;

constexpr Opcode kOpcodes[] = {
    // clang-format off
    {3170, "set_dload_mode",            P::bytes,    A::result, 0,     S::built,       handle_set_dload_mode,
     "Stores the download mode, \"on\" or another text that begins with \"o\"."},
    {3171, "get_dload_mode",            P::none,     A::text,   0,     S::built,       handle_get_dload_mode,
     "Answers the download mode, \"off\" where none is stored."},
    {3200, "get_wine_ime",              P::none,     A::byte,   0,     S::built,       handle_get_wine_ime,
     "Answers the wine IME flag, 255 when it cannot be read."},
    {3201, "set_wine_ime",              P::bytes,    A::result, 0,     S::built,       handle_set_wine_ime,
     "Stores the wine IME flag."},
    {4001, "aat_result",                P::text,     A::text,   0,     S::built,       handle_aat_result,
     "\"1\" answers the result of the automatic test; \"2\" and a result string stores that."},
    {4002, "frst_start",                P::number,   A::result, D | M, S::built,       handle_frst_start,
     "Starts the factory reset or production reset of the number given."},
    {4003, "charger_skip",              P::number,   A::result, 0,     S::built,       handle_charger_skip,
     "Sets the charger-skip flag; the number 2 answers the flag in the result."},
    {4004, "devicetest_start",          P::number,   A::result, D | M, S::built,       handle_devicetest_start,
     "The number 1 restarts the phone into the device test; result 4 without its image."},
    {4005, "factory_mode_check",        P::none,     A::byte,   M,     S::built,       handle_factory_mode_check,
     "Answers the factory mode, 1 after a factory boot; the result is 2 for the mode 2."},
    {4006, "qfuse_check",               P::none,     A::text,   0,     S::unsupported, nullptr,
     "Answers the state of the secure-boot fuse."},
    {4007, "fwx_start",                 P::number,   A::result, D | M, S::built,       handle_fwx_start,
     "Restarts the phone into the boot status given."},
    {4008, "sniff_config",              P::text,     A::result, 0,     S::built,       handle_sniff_config,
     "Stores the sniff download configuration."},
    {4009, "sniff_w_mid",               P::none,     A::result, D | M, S::built,       handle_sniff_w_mid,
     "Marks the sniff download data, sets the factory status to 2 and restarts the phone."},
    {4010, "get_serial_number",         P::none,     A::text,   0,     S::built,       handle_get_serial_number,
     "Answers the factory serial number, \"0\" where none is stored."},
    {4011, "get_factory_version_2",     P::none,     A::text,   0,     S::built,       handle_get_factory_version_2,
     "Answers the factory software version of kind 2."},
    {4012, "get_hw_revision",           P::none,     A::text,   0,     S::built,       handle_get_hw_revision,
     "Answers the hardware revision."},
    {4013, "get_code_crc",              P::none,     A::text,   0,     S::built,       handle_get_code_crc,
     "Answers the CRC of the code image."},
    {4015, "get_msn",                   P::none,     A::text,   0,     S::built,       handle_get_msn,
     "Answers the MSN."},
    {4016, "get_manuf_date",            P::none,     A::text,   0,     S::built,       handle_get_manuf_date,
     "Answers the manufacture date."},
    {4017, "get_set_revision",          P::none,     A::text,   0,     S::built,       handle_get_set_revision,
     "Answers the set revision."},
    {4018, "get_csn",                   P::none,     A::text,   0,     S::built,       handle_get_csn,
     "Answers the CSN."},
    {4019, "get_factory_version_1",     P::none,     A::text,   0,     S::built,       handle_get_factory_version_1,
     "Answers the factory software version of kind 1."},
    {4020, "efs_sync",                  P::none,     A::result, M,     S::built,       handle_efs_sync,
     "Writes the modem's file system out."},
    {4021, "rfsw_get_cal_data",         P::none,     A::text,   M,     S::built,       handle_rfsw_get_cal_data,
     "Answers the check of the RF calibration data."},
    {4024, "get_sw_fixed_area_version", P::none,     A::text,   0,     S::built,       handle_get_sw_fixed_area_version,
     "Answers the version of the fixed software area."},
    {4025, "get_hiddenmenu_enable",     P::none,     A::text,   0,     S::built,       handle_get_hiddenmenu_enable,
     "Answers whether the hidden menu is enabled."},
    {4030, "sim_issim",                 P::text,     A::text,   M,     S::unsupported, nullptr,
     "Answers whether a SIM is present."},
    {4031, "sim_simoff",                P::text,     A::text,   M,     S::unsupported, nullptr,
     "Switches the virtual SIM off or on."},
    {4032, "sim_isvsim",                P::text,     A::text,   M,     S::unsupported, nullptr,
     "Answers the state of the virtual SIM."},
    {4033, "sim_satpc_0",               P::none,     A::text,   M,     S::built,       handle_sim_satpc_0,
     "Sends the SIM toolkit request of mode 0."},
    {4034, "sim_satpc_1",               P::none,     A::text,   M,     S::built,       handle_sim_satpc_1,
     "Sends the SIM toolkit request of mode 1."},
    {4040, "pwr_hardreset_enable",      P::text,     A::result, M,     S::built,       handle_qct_bsp_pwr_hardreset_enable,
     "Enables the power key's hard reset; a text that begins with \"0\" disables it."},
    {4059, "get_nv_crc",                P::none,     A::text,   M,     S::built,       handle_get_nv_crc,
     "Answers the CRC of the modem's numbered items."},
    {4060, "crcwizard_set",             P::number,   A::result, 0,     S::built,       handle_crcwizard_set,
     "Stores the selection of the CRC wizard, one digit."},
    {4061, "crcwizard_get",             P::none,     A::text,   0,     S::built,       handle_crcwizard_get,
     "Answers the selection of the CRC wizard."},
    {4062, "get_file_crc",              P::none,     A::text,   0,     S::built,       handle_get_file_crc,
     "Answers the CRC of the files."},
    {4063, "get_file_dump",             P::none,     A::text,   M,     S::built,       handle_get_file_dump,
     "Writes the dumps of the files and of the phone's status, and answers the CRC of the files."},
    {4064, "automid_imei",              P::optional, A::text,   D | M, S::built,       handle_automid_imei,
     "Writes the IMEI, or answers it."},
    {4065, "automid_mac",               P::optional, A::text,   0,     S::built,       handle_automid_mac,
     "Writes the WLAN MAC address, or answers it."},
    {4066, "automid_btaddr",            P::optional, A::text,   0,     S::built,       handle_automid_btaddr,
     "Writes the Bluetooth address, or answers it."},
    {4068, "get_impl",                  P::none,     A::text,   M,     S::built,       handle_get_impl,
     "Answers the modem's IMPL record."},
    {4069, "get_fusg",                  P::none,     A::text,   M,     S::built,       handle_get_fusg,
     "Answers the modem's FUSG record."},
    {4070, "tpm_read_pcr",              P::bytes,    A::bytes,  0,     S::unsupported, nullptr,
     "Reads a register of the trusted platform."},
    {4071, "tpm_write_pcr",             P::bytes,    A::result, D,     S::unsupported, nullptr,
     "Writes a register of the trusted platform."},
    {4072, "tpm_save_pcr",              P::bytes,    A::result, D,     S::unsupported, nullptr,
     "Saves a register of the trusted platform."},
    {4073, "tpm_extend",                P::bytes,    A::result, D,     S::unsupported, nullptr,
     "Extends a register of the trusted platform."},
    {4074, "tpm_quote",                 P::bytes,    A::bytes,  0,     S::unsupported, nullptr,
     "Answers a quote of the trusted platform."},
    {4075, "tpm_quote_info",            P::bytes,    A::bytes,  0,     S::unsupported, nullptr,
     "Answers the quote's information."},
    {4076, "tpm_verify_rsa_key",        P::bytes,    A::result, 0,     S::unsupported, nullptr,
     "Verifies the RSA key of the trusted platform."},
    {4077, "tpm_load_app",              P::none,     A::result, 0,     S::unsupported, nullptr,
     "Loads the trusted application."},
    {4078, "tpm_terminate_app",         P::none,     A::result, 0,     S::unsupported, nullptr,
     "Ends the trusted application."},
    {4079, "mirrorlink_confirm_keys",   P::none,     A::result, 0,     S::unsupported, nullptr,
     "Confirms the keys of the screen link to a car."},
    {4080, "set_diag_tty_block",        P::bytes,    A::result, 0,     S::built,       handle_set_diag_tty_block,
     "Blocks or unblocks the diagnostic tty."},
    {4081, "get_diag_tty_block",        P::none,     A::byte,   0,     S::built,       handle_get_diag_tty_block,
     "Answers 0, whatever the state of the diagnostic tty is."},
    {4090, "aatset_write",              P::text,     A::result, D,     S::built,       handle_aatset_write,
     "Stores the set of the automatic test."},
    {4091, "aat_orderset_write",        P::text,     A::result, D,     S::built,       handle_aat_orderset_write,
     "Stores the order of the automatic test, and puts the set into it."},
    {4180, "aat_write_start",           P::text,     A::result, D | M, S::built,       handle_aat_write_start,
     "Restarts the phone into the automatic test."},
    {4211, "fp_spi_test",               P::none,     A::text,   0,     S::built,       handle_fp_spi_test,
     "Tests the fingerprint sensor's bus."},
    {4212, "fp_zone_test",              P::none,     A::text,   0,     S::built,       handle_fp_zone_test,
     "Tests the fingerprint sensor's zones."},
    {4213, "fp_checkboard_test",        P::none,     A::text,   0,     S::built,       handle_fp_checkboard_test,
     "Tests the fingerprint sensor's checkerboard image."},
    {4215, "get_ldaf_cal",              P::none,     A::bytes,  0,     S::built,       handle_get_ldaf_cal,
     "Answers the calibration of the laser autofocus."},
    {4230, "get_saat_result",           P::none,     A::text,   0,     S::built,       handle_get_saat_result,
     "Answers the result of the self test."},
    {4231, "set_saat_result",           P::text,     A::result, 0,     S::built,       handle_set_saat_result,
     "Stores the result of the self test."},
    {4232, "saat_proxi_sync",           P::text,     A::result, 0,     S::unsupported, nullptr,
     "Synchronises the proximity sensor of the self test."},
    {4240, "read_flex_gpio_sum",        P::none,     A::bytes,  0,     S::built,       handle_read_flex_gpio_sum,
     "Answers the GPIO sum."},
    {4241, "write_flex_gpio_sum",       P::bytes,    A::result, 0,     S::built,       handle_write_flex_gpio_sum,
     "Stores the GPIO sum."},
    {4266, "sdcard_download",           P::text,     A::result, D | M, S::built,       handle_sdcard_download,
     "Stores the SD-card download path and restarts the phone into download mode."},
    {4293, "write_imei",                P::bytes,    A::text,   D | M, S::built,       handle_write_imei,
     "Writes the IMEI and answers the modem's text."},
    {4294, "read_imei",                 P::none,     A::text,   M,     S::built,       handle_read_imei,
     "Answers the IMEI."},
    {4295, "read_startday",             P::none,     A::result, M,     S::built,       handle_read_startday,
     "Checks the start day's record."},
    {4296, "get_image_status",          P::none,     A::byte,   0,     S::built,       handle_get_image_status,
     "Answers whether the image resize is complete."},
    {4297, "get_image_secno",           P::none,     A::bytes,  0,     S::built,       handle_get_image_secno,
     "Answers the image's security number."},
    {4298, "get_image_name",            P::none,     A::text,   0,     S::built,       handle_get_image_name,
     "Answers the image's name."},
    {4400, "read_meid",                 P::none,     A::text,   M,     S::built,       handle_read_meid,
     "Answers the MEID."},
    {4401, "read_pesn",                 P::none,     A::text,   M,     S::built,       handle_read_pesn,
     "Answers the pseudo ESN."},
    {4402, "get_ram_size",              P::none,     A::text,   0,     S::built,       handle_get_ram_size,
     "Answers the size of the RAM in MB."},
    {4403, "not_supported",             P::none,     A::result, 0,     S::unsupported, nullptr,
     "Answers \"not supported\" on every phone."},
    {4404, "get_sku",                   P::none,     A::text,   0,     S::built,       handle_get_sku,
     "Answers the SKU."},
    {4405, "reset_production_1",        P::none,     A::result, D | M, S::built,       handle_reset_production_1,
     "Checks the production reset of the first production."},
    {4406, "reset_production_0",        P::none,     A::result, D | M, S::built,       handle_reset_production_0,
     "Runs the production reset of the first production."},
    {4407, "get_midauto_result",        P::none,     A::text,   0,     S::built,       handle_get_midauto_result,
     "Answers the result of the MID automatic test."},
    {4408, "set_midauto_result",        P::text,     A::text,   0,     S::built,       handle_set_midauto_result,
     "Stores the result of the MID automatic test and answers it."},
    {4409, "get_midauto_crc_0",         P::none,     A::text,   0,     S::built,       handle_get_midauto_crc_0,
     "Answers the first CRC of the MID automatic test."},
    {4410, "get_midauto_crc_1",         P::none,     A::text,   0,     S::built,       handle_get_midauto_crc_1,
     "Answers the second CRC of the MID automatic test."},
    {4411, "get_midauto_crc_2",         P::none,     A::text,   0,     S::built,       handle_get_midauto_crc_2,
     "Answers the third CRC of the MID automatic test."},
    {4412, "get_midauto_crc_3",         P::none,     A::text,   0,     S::built,       handle_get_midauto_crc_3,
     "Answers the fourth CRC of the MID automatic test."},
    {4413, "midauto_read_imei2",        P::none,     A::text,   M,     S::built,       handle_midauto_read_imei2,
     "Answers the second IMEI."},
    {4414, "midauto_read_imei3",        P::none,     A::text,   M,     S::built,       handle_midauto_read_imei3,
     "Answers the third IMEI."},
    // clang-format on
};

constexpr bool in_order() {
  for (size_t i = 1; i < sizeof kOpcodes / sizeof *kOpcodes; ++i) {
    if (kOpcodes[i - 1].number >= kOpcodes[i].number) return false;
  }
  return true;
}
static_assert(in_order(), "opcodes stand in ascending order, each once");

constexpr Handler::Shape wanted_shape(const Opcode& row) {
  if (row.state != State::built) return Handler::Shape::none;
  if (row.payload == Payload::none) return Handler::Shape::answer;
  return row.payload == Payload::bytes ? Handler::Shape::record : Handler::Shape::text;
}

constexpr bool handlers_fit() {
  for (const Opcode& row : kOpcodes) {
    if (row.handler.shape != wanted_shape(row)) return false;
  }
  return true;
}
static_assert(handlers_fit(), "a built row has a handler of the shape that its payload wants, any other row has none");

}  // namespace

Opcodes opcodes() { return {kOpcodes, sizeof kOpcodes / sizeof *kOpcodes}; }

const Opcode* find_opcode(int number) {
  const Opcodes rows = opcodes();
  const Opcode* row =
      std::lower_bound(rows.begin(), rows.end(), number, [](const Opcode& a, int wanted) { return a.number < wanted; });
  return row != rows.end() && row->number == number ? row : nullptr;
}

const Opcode* find_opcode(const char* name) {
  for (const Opcode& row : kOpcodes) {
    if (strcmp(row.name, name) == 0) return &row;
  }
  return nullptr;
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
