// The factory items, the modem's items, its file system.
#include <errno.h>
#include <fcntl.h>
#include <string.h>

#include "daemon/calls/row.h"

namespace atd {

namespace {

int read_qem_get_status() { return qem_get_status; }

void make_checksum(const char* digits, char* imei) {
  strncpy(imei, digits, 15);
  make_imei_chksum(imei, 14);
}

// The arguments of these two are joined by commas anyway.
int camp_by_text(char* text, char* response) { return campreq(&text, 1, response); }
int camp(int band) { return campreq(band); }

int read_efs(const char* path, int count, char* data, int* length) {
  if (count < 0 || count > static_cast<int>(kToldSize)) return -EINVAL;
  const int fd = efs_open(path, O_RDONLY, 0);
  if (fd < 0) return fd;
  *length = efs_read(fd, data, count);
  return efs_close(fd);
}

int write_efs(const char* path, const void* data, int count) {
  const int fd = efs_open(path, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0) return fd;
  const int written = efs_write(fd, data, count);
  const int closed = efs_close(fd);
  return closed < 0 ? closed : written == count ? 0 : -EIO;
}

}  // namespace

std::vector<Row> factory_calls() {
  return {
      {"qem_get_status", read_qem_get_status, "", any, "Tells the QEM flag as it was last read or written.", kInDaemon},
      {FUNCTION(init_factory_item), "ARGUMENT", zero, "Opens the factory item store."},
      {FUNCTION(get_factory_status), "", value, "Tells the factory status."},
      {FUNCTION(set_factory_status), "VALUE", zero, "Stores the factory status.", kDestroys},
      {FUNCTION(get_qem), "", value, "Reads the QEM flag (factory boot)."},
      {FUNCTION(set_qem), "VALUE", zero, "Stores the QEM flag."},
      {FUNCTION(get_charger_skip), "", value, "Tells the charger skip."},
      {FUNCTION(set_charger_skip), "VALUE", zero, "Stores the charger skip."},
      {FUNCTION(get_frst_running), "", value, "Tells whether a factory reset runs."},
      {FUNCTION(set_frst_running), "VALUE", zero, "Stores whether a factory reset runs."},
      {FUNCTION(get_workfrstmodeon_status), "", value, "Tells the factory reset's work mode."},
      {FUNCTION(set_workfrstmodeon_status), "VALUE", zero, "Stores the factory reset's work mode."},
      {FUNCTION(get_wine_ime), "", value, "Tells the wine IME flag."},
      {FUNCTION(set_wine_ime), "VALUE", zero, "Stores the wine IME flag."},
      {FUNCTION(get_hiddenMenu_extension), "", value, "Tells the hidden menu's extension."},
      {FUNCTION(set_hiddenMenu_extension), "VALUE", zero, "Stores the hidden menu's extension."},
      {FUNCTION(set_lcd_break_mode), "VALUE", zero, "Stores the LCD break mode."},
      {FUNCTION(get_testmode), "", value, "Tells the test mode."},
      {FUNCTION(set_testmode), "VALUE", zero, "Stores the test mode."},
      {FUNCTION(get_mfts_status), "", value, "Tells the MFTS status."},
      {FUNCTION(get_radiation_result), "", value, "Tells the radiation test's result."},
      {FUNCTION(set_radiation_result), "VALUE", zero, "Stores the radiation test's result."},
      {FUNCTION(get_fsg_wp_enable), "", value, "Tells whether the FSG is write-protected."},
      {FUNCTION(set_fsg_wp_enable), "VALUE", zero, "Stores whether the FSG is write-protected."},
      {FUNCTION(get_use_fsg), "", value, "Tells whether the FSG is used."},
      {FUNCTION(set_use_fsg), "VALUE", zero, "Stores whether the FSG is used."},
      {FUNCTION(get_use_fsg_count), "", value, "Tells how often the FSG was used."},
      {FUNCTION(set_use_fsg_count), "VALUE", zero, "Stores how often the FSG was used."},
      {FUNCTION(get_fsg_wp_status), "", value, "Tells the status of the FSG's write protection."},
      {FUNCTION(set_fsg_wp_status), "VALUE", zero, "Stores the status of the FSG's write protection."},
      {FUNCTION(get_ship_mode_status), "", value, "Tells the ship mode."},
      {FUNCTION(set_ship_mode_status), "VALUE", zero, "Stores the ship mode."},
      {FUNCTION(get_scan_dm0_enable), "", value, "Tells whether DM0 is scanned."},
      {FUNCTION(set_scan_dm0_enable), "VALUE", zero, "Stores whether DM0 is scanned."},
      {FUNCTION(get_scan_dm0_status), "", value, "Tells the status of the DM0 scan."},
      {FUNCTION(set_scan_dm0_status), "VALUE", zero, "Stores the status of the DM0 scan."},
      {FUNCTION(get_copy_preload_status), "", value, "Tells the status of the preload's copy."},
      {FUNCTION(set_copy_preload_status), "VALUE", zero, "Stores the status of the preload's copy."},
      {FUNCTION(get_pid), "pid:30", zero, "Tells the item of the product ID."},
      {FUNCTION(set_pid), "PID:30", zero, "Stores the item of the product ID.", kDestroys},
      {FUNCTION(get_lcd_cal_data), "data*4", zero, "Tells the screen's calibration."},
      {FUNCTION(set_lcd_cal_data), "DATA*4", zero, "Stores the screen's calibration.", kDestroys},
      {FUNCTION(get_dload_factory_reset_flag_ftm_item), "flag:1", zero, "Tells the download mode's reset flag."},
      {FUNCTION(set_dload_factory_reset_flag_ftm_item), "FLAG:1", zero, "Stores the download mode's reset flag."},
      {FUNCTION(get_imei_ftm_item), "imei:20", zero, "Tells the item of the IMEI."},
      {FUNCTION(set_imei_ftm_item), "IMEI:20", zero, "Stores the item of the IMEI.", kDestroys},
      {FUNCTION(get_sw_version_ftm_item), "version:70", zero, "Tells the item of the software version."},
      {FUNCTION(set_sw_version_ftm_item), "VERSION:70", zero, "Stores the item of the software version."},
      {FUNCTION(get_sw_original_version_ftm_item), "version:70", zero, "Tells the item of the original version."},
      {FUNCTION(set_sw_original_version_ftm_item), "VERSION:70", zero, "Stores the item of the original version."},
      {FUNCTION(get_aatset), "set:128", zero, "Tells the item of the automatic test's set."},
      {FUNCTION(set_aatset), "SET:128", zero, "Stores the item of the automatic test's set, unchecked."},
      {FUNCTION(get_diag_enable_status_from_misc), "status:512", zero, "Tells the diagnostic port's item."},
      {FUNCTION(set_diag_enable_status_to_misc), "STATUS:512", zero, "Stores the diagnostic port's item."},
      {FUNCTION(get_aat_test_order), "order:128", zero, "Tells the item of the automatic test's order."},
      {FUNCTION(set_aat_test_order), "ORDER:128", zero, "Stores the item of the automatic test's order, unchecked."},
      {FUNCTION(get_sw_fixed_area_version_ftm_item), "version:50", zero, "Tells the item of the fixed area's version."},
      {FUNCTION(set_sw_fixed_area_version_ftm_item), "VERSION:50", zero,
       "Stores the item of the fixed area's version."},
      {FUNCTION(get_buyer_item), "buyer:8", zero, "Tells the buyer."},
      {FUNCTION(set_buyer_item), "BUYER:8", zero, "Stores the buyer."},
      {FUNCTION(get_set_revision), "revision:10", zero, "Tells the set's revision."},
      {FUNCTION(set_set_revision), "REVISION:10", zero, "Stores the set's revision."},
      {FUNCTION(get_selfd_result), "result:64", zero, "Tells the self-diagnosis result."},
      {FUNCTION(get_pre_selfde_enable), "enabled:8", zero, "Tells whether self-diagnosis runs before the test."},
      {FUNCTION(set_pre_selfde_enable), "VALUE", zero, "Stores whether self-diagnosis runs before the test."},
      {FUNCTION(get_sniff_download_config), "configuration:512", zero, "Tells the sniffer's configuration."},
      {FUNCTION(set_sniff_download_config), "CONFIGURATION:512", zero, "Stores the sniffer's configuration."},
      {FUNCTION(get_sdcard_download_path), "path:512", zero, "Tells the download's path on the SD card."},
      {FUNCTION(set_sdcard_download_path), "PATH:512", zero, "Stores the download's path on the SD card."},
      {FUNCTION(get_meid_ftm_item), "meid:20", zero, "Tells the item of the MEID."},
      {FUNCTION(set_meid_ftm_item), "MEID:20", zero, "Stores the item of the MEID.", kDestroys},
      {FUNCTION(get_ldaf_cal_ftm_item), "data*10", zero, "Tells the LDAF calibration."},
      {FUNCTION(get_saatresult), "result:128", zero, "Tells the SAAT result."},
      {FUNCTION(set_saatresult), "RESULT:128", zero, "Stores the SAAT result."},
      {FUNCTION(get_midauto_result), "result:128", zero, "Tells the MID automatic test's result."},
      {FUNCTION(set_midauto_result), "RESULT:128", zero, "Stores the MID automatic test's result."},
      {FUNCTION(get_midauto_crc_list), "list:40", zero, "Tells the MID automatic test's list of CRCs."},
      {FUNCTION(set_midauto_crc_list), "LIST:40", zero, "Stores the MID automatic test's list of CRCs."},
      {FUNCTION(get_gpio_sum), "sum*4", zero, "Tells the sum of the GPIOs."},
      {FUNCTION(set_gpio_sum), "SUM*4", zero, "Stores the sum of the GPIOs."},
      {FUNCTION(get_os_upgrade_flag_ftm_item), "flag", zero, "Tells the system upgrade's flag."},
      {FUNCTION(set_os_upgrade_flag_ftm_item), "FLAG:10", zero, "Stores the system upgrade's flag."},
      {FUNCTION(get_crcwizard), "state:1", zero, "Tells the CRC wizard's state."},
      {FUNCTION(set_crcwizard), "VALUE", zero, "Stores the CRC wizard's state."},
      {FUNCTION(set_frst_trace), "STATUS", zero, "Appends a factory status to the history."},
      {FUNCTION(get_devicetestp_result), "", value, "Tells the first digit of the device test's result."},
      {FUNCTION(get_string_ftm_by_index), "INDEX data:2048", zero, "Tells an item of 2048 bytes by its index."},
      {FUNCTION(get_int_ftm_by_index), "INDEX", value, "Tells an item of one byte by its index."},

      {FUNCTION(bt_addr_ascii_to_hexa), "DIGITS address*6", zero, "Turns 12 hexadecimal digits into six bytes."},
      {FUNCTION(bt_addr_hexa_to_ascii), "ADDRESS*6 digits", any, "Turns six bytes into digits."},
      {FUNCTION(bt_addr_read), "address*6", zero, "Reads the Bluetooth address."},
      {FUNCTION(bt_addr_write), "ADDRESS*6", zero, "Stores the Bluetooth address.", kDestroys},
      {FUNCTION(handle_testmode_bt_write_request), "DIGITS", zero, "Stores the Bluetooth address and has it loaded.",
       kDestroys},

      {FUNCTION(write_tav_impl), "DATA# answer:2048#", zero, "Writes the modem's IMPL record.", kDestroys},
      {FUNCTION(read_tav_impl), "DATA# answer:2048#", zero, "Reads the modem's IMPL record."},
      {FUNCTION(write_tav_bcpl), "DATA# answer:2048#", zero, "Writes the modem's BCPL record.", kDestroys},
      {FUNCTION(read_tav_bcpl), "DATA# answer:2048#", zero, "Reads the modem's BCPL record."},
      {FUNCTION(write_tav_idde), "DATA# answer:2048#", zero, "Writes the modem's IDDE record, which may erase more.",
       kDestroys},
      {FUNCTION(read_tav_idde), "DATA# answer:2048#", zero, "Reads the modem's IDDE record."},
      {FUNCTION(write_tav_otpe), "DATA# answer:2048#", zero, "Writes the modem's OTPE record.", kDestroys},
      {FUNCTION(write_tav_fusg), "DATA# answer:2048#", zero, "Writes the modem's FUSG record.", kDestroys},
      {FUNCTION(read_tav_fusg), "DATA# answer:2048#", zero, "Reads the modem's FUSG record."},
      {FUNCTION(write_tav_cdbe), "DATA# answer:2048#", zero, "Writes the modem's CDBE record.", kDestroys},
      {FUNCTION(write_tav_bcpe), "DATA# answer:2048#", zero, "Writes the modem's BCPE record.", kDestroys},
      {FUNCTION(write_tav_pid2), "DATA# answer:2048#", zero, "Writes the modem's second product ID.", kDestroys},
      {FUNCTION(read_tav_pid2), "DATA# answer:2048#", zero, "Reads the modem's second product ID."},
      {FUNCTION(write_tav_btad), "DATA# answer:2048#", zero, "Writes the modem's Bluetooth address.", kDestroys},
      {FUNCTION(read_tav_btad), "DATA# answer:2048#", zero, "Reads the modem's Bluetooth address."},
      {FUNCTION(write_tav_pid), "DATA# answer:2048#", zero, "Writes the modem's product ID.", kDestroys},
      {FUNCTION(read_tav_pid), "DATA# answer:2048#", zero, "Reads the modem's product ID."},
      {FUNCTION(read_tav_meid), "meid:2048#", zero, "Reads the modem's MEID."},
      {FUNCTION(read_tav_pesn), "pesn:2048#", zero, "Reads the modem's pseudo ESN."},
      {FUNCTION(write_tav_imei), "OPCODE DATA# answer:2048#", zero, "Writes an IMEI by the modem's opcode for it.",
       kDestroys},
      {FUNCTION(read_tav_imei), "OPCODE DATA# answer:2048#", zero,
       "Reads an IMEI by the modem's opcode for it; any other is sent, too.", kDestroys},
      {"make_imei_chksum", make_checksum, "DIGITS:15 imei:15", any, "Puts the check digit behind 14 digits."},
      {FUNCTION(imei_check_on_boot), "", zero, "Copies the modem's IMEI to its item where they differ."},
      {FUNCTION(meid_check_on_boot), "", zero, "Copies the modem's MEID to its item where they differ."},
      {FUNCTION(read_pid), "pid", zero, "Reads the product ID."},
      {FUNCTION(write_pid), "PID", zero, "Writes the product ID to the modem and its item.", kDestroys},
      {FUNCTION(tav_satpc_req), "MODE DATA# answer:2048#", zero, "Sends a SIM toolkit request, mode 0 or 1."},
      {FUNCTION(tav_issim_req), "DATA# answer:2048#", zero, "Asks the modem how many SIMs there are."},
      {FUNCTION(send_modem_data), "DATA#", zero, "Sends bulk data to the modem.", kDestroys},
      {FUNCTION(receive_modem_data), "data:16777216#", zero, "Receives the modem's bulk data, at most 16 MiB."},
      {FUNCTION(tav_diag_nvread), "ITEM data:128", zero, "Reads a numbered item of the modem."},
      {FUNCTION(tav_diag_nvwrite), "ITEM DATA:128", zero, "Writes a numbered item of the modem.", kDestroys},
      {FUNCTION(get_tav_data_from_modem), "OPCODE DATA# answer:2048#", zero, "Makes a request of the modem.",
       kDestroys},
      {"campreq", camp, "BAND", zero, "Has the modem camp on a band from 4 to 94."},
      {"campreq_text", camp_by_text, "ARGUMENTS answer", zero, "Has the modem camp by arguments with commas."},

      {FUNCTION(efs_init), "CLIENT", zero, "Opens the modem interface for a client handle."},
      {FUNCTION(efs_release), "CLIENT", zero, "Closes the modem interface."},
      {"efs_read", read_efs, "PATH COUNT data:65536#", value,
       "Reads a file of the modem's file system; one that cannot be read is told as an empty one."},
      {"efs_write", write_efs, "PATH DATA#", zero, "Writes a file of the modem's file system.", kDestroys},
      {FUNCTION(efs_unlink), "PATH", value, "Removes a file of the modem's file system.", kDestroys},
  };
}

}  // namespace atd
