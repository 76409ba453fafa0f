#include "factory/items.h"

#include <stdint.h>
#include <string.h>
#include <unistd.h>

#include "factory/item_registry.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/text_writer.h"

using namespace atd;

int qem_get_status;

namespace {

int get_flag(const FactoryItem& item) {
  uint8_t value = 0;
  return read_item(item, &value) < 0 ? -1 : value;
}

int set_flag(const FactoryItem& item, int value) {
  uint8_t byte = static_cast<uint8_t>(value);
  return write_item(item, &byte) < 0 ? -1 : 0;
}

int get_buffer(const FactoryItem& item, void* buffer) { return read_item(item, buffer) < 0 ? -1 : 0; }

int set_buffer(const FactoryItem& item, const void* buffer) { return write_item(item, buffer) < 0 ? -1 : 0; }

int clear(const FactoryItem& item) {
  const char zeros[128] = {};
  return set_buffer(item, zeros);
}

int clear_and_set(const FactoryItem& item, const void* buffer) {
  return clear(item) != 0 ? -1 : set_buffer(item, buffer);
}

}  // namespace

int init_factory_item(int arg) {
  if (init_ftm_item(arg) >= 0) return 0;
  SLOGE("Failed to init ftm item\n");
  return -1;
}

// Byte flags.
int get_factory_status() { return get_flag(item<2>); }
int get_charger_skip() { return get_flag(item<10>); }
int set_charger_skip(int value) { return set_flag(item<10>, value); }
int get_frst_running() { return get_flag(item<23>); }
int set_frst_running(int value) { return set_flag(item<23>, value); }
int get_workfrstmodeon_status() { return get_flag(item<40>); }
int get_wine_ime() { return get_flag(item<75>); }
int set_wine_ime(int value) { return set_flag(item<75>, value); }
int get_hiddenMenu_extension() { return get_flag(item<80>); }
int set_hiddenMenu_extension(int value) { return set_flag(item<80>, value); }
int get_testmode() { return get_flag(item<106>); }
int set_testmode(int value) { return set_flag(item<106>, value); }
int get_mfts_status() { return get_flag(item<119>); }
int get_radiation_result() { return get_flag(item<132>); }
int set_radiation_result(int value) { return set_flag(item<132>, value); }
int get_fsg_wp_enable() { return get_flag(item<216>); }
int set_fsg_wp_enable(int value) { return set_flag(item<216>, value); }
int get_use_fsg() { return get_flag(item<217>); }
int set_use_fsg(int value) { return set_flag(item<217>, value); }
int get_use_fsg_count() { return get_flag(item<218>); }
int set_use_fsg_count(int value) { return set_flag(item<218>, value); }
int get_fsg_wp_status() { return get_flag(item<221>); }
int set_fsg_wp_status(int value) { return set_flag(item<221>, value); }
int get_ship_mode_status() { return get_flag(item<223>); }
int set_ship_mode_status(int value) { return set_flag(item<223>, value); }
int get_scan_dm0_enable() { return get_flag(item<225>); }
int set_scan_dm0_enable(int value) { return set_flag(item<225>, value); }
int get_scan_dm0_status() { return get_flag(item<226>); }
int set_scan_dm0_status(int value) { return set_flag(item<226>, value); }
int get_copy_preload_status() { return get_flag(item<410>); }
int set_copy_preload_status(int value) { return set_flag(item<410>, value); }

// Buffers.
int get_pid(char* buffer) { return get_buffer(item<4>, buffer); }
int set_pid(const char* buffer) { return set_buffer(item<4>, buffer); }
int get_lcd_cal_data(char* buffer) { return get_buffer(item<11>, buffer); }
int set_lcd_cal_data(const char* buffer) { return set_buffer(item<11>, buffer); }
int get_dload_factory_reset_flag_ftm_item(char* buffer) { return get_buffer(item<12>, buffer); }
int get_imei_ftm_item(char* buffer) { return get_buffer(item<13>, buffer); }
int set_imei_ftm_item(const char* buffer) { return set_buffer(item<13>, buffer); }
int get_sw_version_ftm_item(char* buffer) { return get_buffer(item<14>, buffer); }
int set_sw_version_ftm_item(const char* buffer) { return set_buffer(item<14>, buffer); }
int get_sw_original_version_ftm_item(char* buffer) { return get_buffer(item<15>, buffer); }
int set_sw_original_version_ftm_item(const char* buffer) { return set_buffer(item<15>, buffer); }
int get_aatset(char* buffer) { return get_buffer(item<17>, buffer); }
int get_aat_test_order(char* buffer) { return get_buffer(item<25>, buffer); }
int set_aat_test_order(const char* buffer) { return clear_and_set(item<25>, buffer); }
int get_sw_fixed_area_version_ftm_item(char* buffer) { return get_buffer(item<31>, buffer); }
int set_sw_fixed_area_version_ftm_item(const char* buffer) { return set_buffer(item<31>, buffer); }
int get_buyer_item(char* buffer) { return get_buffer(item<32>, buffer); }
int set_buyer_item(const char* buffer) { return set_buffer(item<32>, buffer); }
int get_set_revision(char* buffer) { return get_buffer(item<36>, buffer); }
int set_set_revision(const char* buffer) { return set_buffer(item<36>, buffer); }
int get_selfd_result(char* buffer) { return get_buffer(item<45>, buffer); }
int get_pre_selfde_enable(char* buffer) { return get_buffer(item<46>, buffer); }
int get_sniff_download_config(char* buffer) { return get_buffer(item<89>, buffer); }
int set_sniff_download_config(const char* buffer) { return set_buffer(item<89>, buffer); }
int get_sdcard_download_path(char* buffer) { return get_buffer(item<90>, buffer); }
int set_sdcard_download_path(const char* buffer) { return set_buffer(item<90>, buffer); }
int get_meid_ftm_item(char* buffer) { return get_buffer(item<207>, buffer); }
int set_meid_ftm_item(const char* buffer) { return set_buffer(item<207>, buffer); }
int get_ldaf_cal_ftm_item(char* buffer) { return get_buffer(item<211>, buffer); }
int get_saatresult(char* buffer) { return get_buffer(item<212>, buffer); }
int set_saatresult(const char* buffer) { return clear_and_set(item<212>, buffer); }
int get_midauto_result(char* buffer) { return get_buffer(item<251>, buffer); }
int set_midauto_result(const char* buffer) { return clear_and_set(item<251>, buffer); }
int set_midauto_crc_list(const char* buffer) { return clear_and_set(item<253>, buffer); }
int get_gpio_sum(char* buffer) { return get_buffer(item<300>, buffer); }
int set_gpio_sum(const char* buffer) { return set_buffer(item<300>, buffer); }

int get_string_ftm_by_index(unsigned index, char* buffer) { return get_ftm_item(index, 2048, buffer) < 0 ? -1 : 0; }

int get_int_ftm_by_index(unsigned index) {
  uint8_t value = 0;
  return get_ftm_item(index, 1, &value) < 0 ? -1 : value;
}

int set_factory_status(int value) {
  SLOGI("set_factory_status:[%d] \n", value);
  if (value == 3) {
    unlink(device_entry("/cache/recovery/last_locale"));
    unlink(device_entry("/mpt/agree_factory"));
    unlink(device_entry("/vendor/mpt/agree_factory"));
  }
  if (set_flag(item<2>, value) != 0) {
    SLOGI("Set ftm Error! Item : %d", 2);
    return -1;
  }
  set_frst_trace(value);
  return 0;
}

int set_frst_trace(int value) {
  constexpr size_t kSize = item<79>.length;
  char old[kSize + 1] = {};
  char text[kSize] = {};
  read_item(item<79>, old);
  if (strlen(old) >= kSize - 1) {
    SLOGI("Full RZFTM_FRST_TRACE, initialize this item");
    old[0] = '\0';
  }
  TextWriter(text).format("%s%d", old, value);
  if (set_buffer(item<79>, text) != 0) {
    SLOGI("Set ftm Error! Item : %s", "RZFTM_FRST_TRACE");
    return -1;
  }
  char display[2 * kSize];
  TextWriter out(display);
  for (const char* in = text; *in != '\0'; ++in) out.put(*in).put('>');
  SLOGI("trace value : %s", display);
  return 0;
}

int get_qem() {
  int value = get_flag(item<3>);
  if (value != -1) qem_get_status = value;
  return value;
}

int set_qem(int value) {
  if (set_flag(item<3>, value) != 0) return -1;
  qem_get_status = value;
  return 0;
}

int set_dload_factory_reset_flag_ftm_item(const char* buffer) {
  if (set_buffer(item<12>, buffer) == 0) return 0;
  SLOGI("Set ftm Error! Item : %d", 12);
  return -1;
}

int set_aatset(const char* buffer) {
  if (clear(item<17>) != 0) return -1;
  // Of the items that are cleared first, only this one waits between the two writes.
  os_sleep_us(100);
  return set_buffer(item<17>, buffer);
}

int get_diag_enable_status_from_misc(char* buffer) {
  if (get_buffer(item<21>, buffer) == 0) return 0;
  SLOGE("Fail to get_diag_enable_status_to_misc");
  return -1;
}

int set_diag_enable_status_to_misc(const char* buffer) {
  if (set_buffer(item<21>, buffer) == 0) return 0;
  SLOGE("Fail to set_diag_enable_status_to_misc");
  return -1;
}

int get_devicetestp_result() {
  char result[item<7>.length + 1] = {};
  if (get_buffer(item<7>, result) != 0) return -1;
  SLOGI("get_devicetestp_result, result[31] = %s,\n", result);
  return result[0] - '0';
}

int set_workfrstmodeon_status(int value) {
  SLOGI("set_workfrstmodeon_status:[%d] \n", value);
  return set_flag(item<40>, value);
}

int set_pre_selfde_enable(int value) {
  char text[item<46>.length] = {static_cast<char>('0' + value)};
  return set_buffer(item<46>, text);
}

int get_crcwizard(char* buffer) {
  SLOGI("CWCWIZARD get_crcwizard pass\n");
  if (get_buffer(item<49>, buffer) != 0) return -1;
  SLOGI("CWCWIZARD get_crcwizard(%.1s)\n", buffer);
  return 0;
}

int set_crcwizard(int value) {
  // Two bytes on purpose: the first digit alone is kept.
  char text[2];
  TextWriter(text).format("%d", value);
  SLOGI("CWCWIZARD set_crcwizard(%s)\n", text);
  return set_buffer(item<49>, text);
}

int set_lcd_break_mode(int value) {
  SLOGI("set_lcd_break_status:[%d] \n", value);
  return set_flag(item<101>, value);
}

int get_midauto_crc_list(char* buffer) {
  // Unlike its neighbours, this one also takes a positive result for a failure.
  return read_item(item<253>, buffer) != 0 ? -1 : 0;
}

int get_os_upgrade_flag_ftm_item(char* buffer) {
  if (get_buffer(item<3586>, buffer) != 0) return -1;
  buffer[item<3586>.length - 1] = '\0';
  return 0;
}

int set_os_upgrade_flag_ftm_item(const char* buffer) {
  if (set_buffer(item<3586>, buffer) == 0) return 0;
  SLOGE("Set ftm fail\n");
  return -1;
}
