// Every function of the library, called by name as a person calls it, and what it did.
#include <fcntl.h>
#include <pty.h>

#include <algorithm>
#include <future>
#include <set>
#include <thread>

#include "atd.h"
#include "daemon/call_command.h"
#include "daemon/calls.h"
#include "simulator/control.h"
#include "tests/client_daemon.h"
#include "text/file.h"

namespace atd {
namespace {

using Words = std::vector<std::string>;

// A call, or with ":" a verb of the phone. A "~" is a blank in a word. `says` is the whole output with ";" for line
// ends, or with "*" a part of output and error. `effect` is "VERB = PART OF ITS OUTPUT", "/PATH = ITS CONTENT" or
// "log = TEXT".
struct Step {
  const char* words;
  int status;
  const char* says;
  const char* effect = "";
};

struct Story {
  const char* name;
  std::vector<Step> steps;
  bool platform = false;  // one that answers each request with result 0 and the text "yes"
};

// Each is played on a phone of its own.
const std::vector<Story>& stories() {
  static const std::vector<Story> all = {
      {"flags",
       {
           {"init_factory_item 0", 0, "result 0"},
           {"get_factory_status", 0, "result 0"},
           {"set_factory_status 3", 0, "result 0", "item get 2 = 3"},
           {"set_qem 0x101", 0, "result 0", "item get 3 = 1"},
           {"get_qem", 0, "result 1"},
           {"qem_get_status", 0, "result 1"},
           {"set_charger_skip 7", 0, "result 0"},
           {"get_charger_skip", 0, "result 7"},
           {"set_frst_running 7", 0, "result 0"},
           {"get_frst_running", 0, "result 7"},
           {"set_workfrstmodeon_status 8", 0, "result 0"},
           {"get_workfrstmodeon_status", 0, "result 8"},
           {"set_wine_ime 9", 0, "result 0"},
           {"get_wine_ime", 0, "result 9"},
           {"set_hiddenMenu_extension 10", 0, "result 0"},
           {"get_hiddenMenu_extension", 0, "result 10"},
           {"set_lcd_break_mode 1", 0, "result 0", "item get 101 = 1"},
           {"set_testmode 11", 0, "result 0"},
           {"get_testmode", 0, "result 11"},
           {"get_mfts_status", 0, "result 0"},
           {"set_radiation_result 12", 0, "result 0"},
           {"get_radiation_result", 0, "result 12"},
           {"set_fsg_wp_enable 13", 0, "result 0"},
           {"get_fsg_wp_enable", 0, "result 13"},
           {"set_use_fsg 14", 0, "result 0"},
           {"get_use_fsg", 0, "result 14"},
           {"set_use_fsg_count 15", 0, "result 0"},
           {"get_use_fsg_count", 0, "result 15"},
           {"set_fsg_wp_status 16", 0, "result 0"},
           {"get_fsg_wp_status", 0, "result 16"},
           {"set_ship_mode_status 17", 0, "result 0"},
           {"get_ship_mode_status", 0, "result 17"},
           {"set_scan_dm0_enable 18", 0, "result 0"},
           {"get_scan_dm0_enable", 0, "result 18"},
           {"set_scan_dm0_status 19", 0, "result 0"},
           {"get_scan_dm0_status", 0, "result 19"},
           {"set_copy_preload_status 255", 0, "result 0"},
           {"get_copy_preload_status", 0, "result 255"},
           {"get_int_ftm_by_index 2", 0, "result 3"},
           {"set_pre_selfde_enable 1", 0, "result 0"},
           {"get_pre_selfde_enable", 0, "enabled 1;result 0"},
           {"set_crcwizard 12", 0, "result 0"},
           {"get_crcwizard", 0, "state 1;result 0"},
           {"set_frst_trace 4", 0, "result 0", "item get 79 = 34"},
           {"get_string_ftm_by_index 79", 0, "data 34;result 0"},
           {"get_devicetestp_result", 1, "*get_devicetestp_result says no (-48)"},
           {": fault set get_ftm_item", 0, ""},
           {"get_qem", 1, "*result -1;get_qem says no (-1); the log may say why: atdctl phone log"},
       }},
      {"items",
       {
           {"set_pid PID0123456789", 0, "result 0", "item get 4 = PID0123456789"},
           {"get_pid", 0, "pid PID0123456789;result 0"},
           {"set_lcd_cal_data hex:01020380", 0, "result 0"},
           {"get_lcd_cal_data", 0, "data hex:01020380;result 0"},
           {"set_lcd_cal_data 12345", 64, "*DATA: \"12345\" has 5 bytes; write 4 bytes as hex:00ff"},
           {"set_dload_factory_reset_flag_ftm_item 1", 0, "result 0"},
           {"get_dload_factory_reset_flag_ftm_item", 0, "flag 1;result 0"},
           {"set_imei_ftm_item 490154203237518", 0, "result 0", "item get 13 = 490154203237518"},
           {"get_imei_ftm_item", 0, "imei 490154203237518;result 0"},
           {"set_imei_ftm_item 012345678901234567890", 64, "*has 21 bytes; there is room for 20 bytes"},
           {"set_sw_version_ftm_item V1", 0, "result 0", "item get 14 = V1"},
           {"get_sw_version_ftm_item", 0, "version V1;result 0"},
           {"set_sw_original_version_ftm_item V0", 0, "result 0", "item get 15 = V0"},
           {"get_sw_original_version_ftm_item", 0, "version V0;result 0"},
           {"set_aatset 11,0", 0, "result 0", "item get 17 = 11,0"},
           {"get_aatset", 0, "set 11,0;result 0"},
           {"set_diag_enable_status_to_misc on", 0, "result 0"},
           {"get_diag_enable_status_from_misc", 0, "status on;result 0"},
           {"set_aat_test_order 2,1", 0, "result 0", "item get 25 = 2,1"},
           {"get_aat_test_order", 0, "order 2,1;result 0"},
           {"set_sw_fixed_area_version_ftm_item A-B", 0, "result 0", "item get 31 = A-B"},
           {"get_sw_fixed_area_version_ftm_item", 0, "version A-B;result 0"},
           {"set_buyer_item text:hex:00", 0, "result 0"},
           {"get_buyer_item", 0, "buyer hex:00;result 0"},
           {"set_set_revision r1", 0, "result 0"},
           {"get_set_revision", 0, "revision r1;result 0"},
           {"get_selfd_result", 0, "result;result 0"},
           {"set_sniff_download_config hex:ff00", 0, "result 0"},
           {"get_sniff_download_config", 0, "configuration hex:ff;result 0"},
           {"set_sdcard_download_path /storage", 0, "result 0"},
           {"get_sdcard_download_path", 0, "path /storage;result 0"},
           {"set_meid_ftm_item A0000000000001", 0, "result 0"},
           {"get_meid_ftm_item", 0, "meid A0000000000001;result 0"},
           {"get_ldaf_cal_ftm_item", 0, "data;result 0"},
           {"set_saatresult 21", 0, "result 0"},
           {"get_saatresult", 0, "result 21;result 0"},
           {"saat_result_get", 0, "result 21;result 0"},
           {"set_midauto_result 31", 0, "result 0"},
           {"get_midauto_result", 0, "result 31;result 0"},
           {"set_midauto_crc_list 41", 0, "result 0"},
           {"get_midauto_crc_list", 0, "list 41;result 0"},
           {"set_gpio_sum 51", 0, "result 0"},
           {"get_gpio_sum", 0, "sum 51;result 0"},
           {"set_os_upgrade_flag_ftm_item 61", 0, "result 0"},
           {"get_os_upgrade_flag_ftm_item", 0, "flag 61;result 0"},
           {"bt_addr_ascii_to_hexa 0a1B2c3D4e5F", 0, "address hex:0a1b2c3d4e5f;result 0"},
           {"bt_addr_hexa_to_ascii hex:0A1b2c3d4e5f", 0, "digits 0A1B2C3D4E5F;done"},
           {"bt_addr_hexa_to_ascii hex:0", 64, "*is no pairs of hex digits"},
           {"bt_addr_write hex:0a1b2c3d4e5f", 0, "result 0", "item get 8 = hex:0a1b2c3d4e5f"},
           {"bt_addr_read", 0, "address hex:0a1b2c3d4e5f;result 0"},
           {"handle_testmode_bt_write_request 0A1B2C3D4E50", 0, "result 0", "item get 8 = hex:0a1b2c3d4e50"},
           {"handle_atcmd_btad_query", 0, "address 0A1B2C3D4E50;result 0"},
           {"handle_testmode_bt_read_request", 0, "address 0A1B2C3D4E50;result 0"},
           {"handle_atcmd_btad_range", 0, "form AT%BTAD=[BD ADDR:12HEX nibble => 6 Bytes];result 0"},
           {"handle_atcmd_btad_assign 0a1B2c3D4e51", 0, "outcome BLUETOOTH ADDRESS WRITE OK;result 0",
            "item get 8 = hex:0a1b2c3d4e51"},
       }},
      {"modem",
       {
           {"init_modem_interface 0", 0, "result 0"},
           {"request_to_system 100 text:", 1, "*data;status 0;result 1;request_to_system says no"},
           {"write_tav_impl i1", 0, "answer IMPL OK;result 0"},
           {"read_tav_impl text:", 0, "answer i1;result 0"},
           {"write_tav_bcpl i2", 0, "answer BCPL OK;result 0"},
           {"read_tav_bcpl text:", 0, "answer i2;result 0"},
           {"write_tav_idde i3", 0, "answer IDDE OK;result 0"},
           {"read_tav_idde text:", 0, "answer i3;result 0"},
           {"write_tav_otpe i4", 0, "answer OTPE OK;result 0"},
           {"write_tav_fusg i5", 0, "answer FUSG OK;result 0"},
           {"read_tav_fusg text:", 0, "answer i5;result 0"},
           {"write_tav_cdbe i6", 0, "answer CDBE OK;result 0"},
           {"write_tav_bcpe i7", 0, "answer BCPE OK;result 0"},
           {"write_tav_pid2 i8", 0, "answer PID2 OK;result 0"},
           {"read_tav_pid2 text:", 0, "answer i8;result 0"},
           {"write_tav_btad i9", 0, "answer BTAD OK;result 0"},
           {"read_tav_btad text:", 0, "answer i9;result 0"},
           {"write_tav_pid PIDA", 0, "answer PID OK;result 0"},
           {"read_tav_pid text:", 0, "answer PIDA;result 0"},
           {"read_pid", 0, "pid PIDA;result 0"},
           {"system_write_pid_info", 0, "result 0", "item get 4 = PIDA"},
           {"write_pid PIDB", 0, "result 0", "item get 4 = PIDB"},
           {"get_pid_crc", 0, "crc 2579876940;result 0"},
           {"read_tav_meid", 0, "meid A0000000000000;result 0"},
           {"meid_check_on_boot", 0, "result 0", "call get_meid_ftm_item = A0000000000000"},
           {"read_tav_pesn", 0, "pesn 80000000;result 0"},
           {"make_imei_chksum 49015420323751", 0, "imei 490154203237518;done"},
           {"write_tav_imei 116 490154203237518", 0, "answer IMEI WRITE OK;result 0", "item get 13 = 490154203237518"},
           {"read_tav_imei 117 text:", 0, "answer 490154203237518;result 0"},
           {": item set 13 0", 0, ""},
           {"imei_check_on_boot", 0, "result 0", "item get 13 = 490154203237518"},
           {"tav_satpc_req 0 x", 0, "answer OK;result 0"},
           {"tav_satpc_req 2 x", 1, "*result 1"},
           {"tav_issim_req x", 0, "answer 1;result 0"},
           {"send_modem_data hex:0102ff", 0, "result 0"},
           {"receive_modem_data", 0, "data hex:0102ff;result 0"},
           {"tav_diag_nvwrite 10 hello", 0, "result 0"},
           {"tav_diag_nvread 10", 0, "data hello;result 0"},
           {"get_tav_data_from_modem 114 text:", 0, "*answer PID2 OK;result 0"},
           {"campreq 4", 0, "result 0"},
           {"campreq_text 1,2", 0, "answer OK;result 0"},
           {"detach 1,2", 0, "answer;result 0"},
           {"set_tav_test_script_item", 0, "result 0"},
           {"get_tav_test_script_mode", 0, "mode 1;result 0"},
           {"set_tav_test_script_cal_data 0", 0, "result 0"},
           {"set_tav_test_script_cal_data 3", 1, "*result 1"},
           {"tav_wcdma_maxpower_on", 0, "result 0"},
           {"tav_wcdma_maxpower_off", 0, "result 0"},
           {"tav_cal_check_read", 0, "data 1;result 0"},
           {"tav_cal_data_check", 0, "found 0;result 0"},
           {"tav_vco_self_tunning_write", 0, "result 0"},
           {"tav_vco_self_tunning_read", 0, "result 0"},
           {"tav_check_modem_cmd_ready", 0, "result 0"},
           {"rf_device_check", 0, "fault;result 0"},
           {"tav_check_modem", 0, "result 0"},
           {"system_powerkey_hardreset_enable 1", 0, "result 0"},
           {"system_powerkey_hardreset_enable 12", 64, "*DIGIT: \"12\" is not one character"},
           {"system_set_caldata_check_prop", 0, "result 0", "property sys.tav.caldata_check = 0"},
           {"system_efs_sync", 0, "result 0"},
           {"frst_modem_data_clear", 0, "result 0"},
           {"frst_rzcp_modem_backup", 0, "result 0"},
           {"frst_modem_data_clear_check", 0, "*record hex:0f0065f642d802"},
           {"nv_crc", 0, "crc 65F642D8;result 1"},
           {"nv_dump", 0, "result 1", "/data/nvdump/nvcrc.txt = "},
           {"tav_reset_production 0", 0, "result 0"},
           {"tav_reset_production 9", 1, "*result -1"},
           {"tav_reset_modem", 0, "result 0"},
           {": modem lose", 0, ""},
           {": fault set dmi_init", 0, ""},
           {"read_tav_meid", 1, "*meid;result 1;read_tav_meid says no"},
       }},
      {"efs",
       {
           {"efs_init 0", 0, "result 0"},
           {"efs_write /nv/item hex:0001ff", 0, "result 0", "/sim/efs/nv/item = "},
           {"efs_read /nv/item 10", 0, "data hex:0001ff;result 0"},
           {"efs_read /nv/item -1", 1, "*result -22"},
           {"efs_unlink /nv/item", 0, "result 0"},
           {"efs_read /nv/item 10", 1, "*result -2"},
           {"efs_release 0", 0, "result 0"},
       }},
      {"keys",
       {
           {"ckpd_mapping", 0, "done"},
           {"testmode_key_mapping", 0, "*keys 35=18 42=17 48=7 49=8"},
           {"keypad_change_keycode 35", 0, "result 18"},
           {"send_key_native 116 1", 0, "result 0", "events = code 116 (KEY_POWER), value 1"},
           {"ctsa_send_event 2 10 20", 0, "result 0", "events = ABS_MT_POSITION_X), value 10"},
           {"ctsa_send_event 9 10 20", 1, "*result -1"},
           {"ctsa_support_list", 0, "modes 0 1 2 3 4 5;result 0"},
           {"SendKey 300", 64, "*KEY: \"300\" is no number from 0 to 255"},
       }},
      {"nobody serves",
       {
           {"SendKey 3", 1, "*result 1"},
           {"pattern_clear x", 1, "*answer;result 1"},
           {"system_sleep", 1, "*result 1"},
           {"mts_log_makezip a 4", 1, "*result 1"},
           {"db_crc", 1, "*crc;result 0"},
           {"crc_command 0", 1, "*answer ERROR;result 1"},
       }},
      {"a platform answers",
       {
           {"request_to_system 1013 ping", 0, "data yes;status 0;result 0"},
           {"SendKey 3", 0, "result 0"},
           {"SendKey_hold 3 2", 0, "result 0"},
           {"SendKey_release 1 3", 0, "result 0"},
           {"ckpd_send_event 35", 0, "result 0"},
           {"system_sleep", 0, "result 0"},
           {"system_wakeup", 0, "result 0"},
           {"system_android_sleep 1", 0, "result 0"},
           {"set_os_upgrade_flag_ftm_item 1", 0, "result 0"},
           {"system_osupgrade_notify", 0, "result 0"},
           {"pattern_clear x", 0, "answer yes;result 0"},
           {"get_phone_number", 0, "number yes;result 0"},
           {"flight_mode_get_status", 0, "status yes;result 0"},
           {"flight_set_mode 1", 0, "answer yes;result 0"},
           {"flight_set_mode_to_modem 1", 0, "answer [1] FLIGHT Mode ON;result 0"},
           {"modem_flight_status", 0, "result 1"},
           {"modem_flight_mode_get_status", 0, "status 1;result 0"},
           {"get_flight_status", 0, "result 1"},
           {"mts_log_makezip a 4", 0, "result 0"},
           {"nv_dump", 0, "result 1"},
           {"nv_copy", 0, "answer yes;result 1", "/nvdump/nvcrc_copy.txt = "},
           {"db_crc", 0, "crc yes;result 1"},
           {"fpri_crc", 0, "crc yes;result 1"},
           {"db_copy", 0, "answer yes;result 1"},
           {"crc_command 0", 0, "answer 0xyes;result 0"},
           {"crc_command 9", 1, "*answer ERROR;result 1"},
           {"flight_set_mode_to_modem 0", 0, "answer [0] FLIGHT Mode OFF;result 0"},
       },
       true},
      {"card",
       {
           {"IsSDCardInserted", 1, "*result -1"},
           {"read_uuid", 1, "*id;result -1"},
           {"mmc_sdcheck", 1, "*result -1"},
           {"trimwhitespace ~~a~b~", 0, "trimmed a b;done"},
           {": card insert card default", 0, "*"},
           {"read_uuid", 0, "id 1A2B-3C4D;result 0"},
           {"IsSDCardInserted", 0, "result 0"},
           {"GetSDCardMountStatus", 0, "result 0"},
           {"get_sdcard_path", 0, "path /storage/1A2B-3C4D/;result 0"},
           {"get_external_logsave_path", 0, "path /storage/1A2B-3C4D/logsave;result 0"},
           {"check_default_contents", 0, "result 0"},
           {"mmc_mmccheckcontents", 0, "result 0"},
           {"mmc_mmctotalsize", 0, "kib 1048576;result 0"},
           {"mmc_mmcusedsize", 0, "bytes 237;result 0"},
           {"recursive_dir_check /storage", 0, "result 237"},
           {"recursive_dir_check ../../etc", 1, "*result -1"},
           {"StartSDCardRWTest", 0, "result 0", "/storage/1A2B-3C4D/test.txt = "},
           {"check_default_contents", 1, "*result 1"},
           {"factory_format", 0, "result 0"},
           {"check_default_contents", 0, "result 0"},
           {"StartSDCardRWTest", 0, "result 0"},
           {"mmc_mmcfactoryformat", 0, "done 1;result 0"},
           {"mmc_mmccheckcontents", 0, "result 0"},
           {"SDCardTestStart", 0, "result 0"},
           {"mmc_emt", 0, "result 0"},
           {"mmc_sdcheck", 0, "result 0"},
           {"mmc_dummysdcheck", 0, "usable 1;result 0"},
           {"SetSDCardUnMount", 0, "result 0"},
           {"GetSDCardMountStatus", 1, "*result -1"},
           {"SetSDCardMount", 0, "result 0", "card show = mounted at"},
           {"erase_external_sdcard", 0, "result 0"},
           {"mmc_mmcformat", 0, "outcome FORMAT:OK;result 0"},
           {"mmc_mmcusedsize", 0, "bytes 0;result 0"},
       }},
      {"storage",
       {
           {"is_empty_dir /data", 0, "result 1"},
           {"is_empty_dir /nothing", 1, "*result -1"},
           {"mmc_emmccapacity", 1, "*mib;result 1"},
           {"mmc_ufscapacity", 0, "mib 61084;result 0"},
           {"mmc_storage_isufs", 0, "result 1"},
           {"ram_memory_size", 0, "result 3790"},
           {"get_fs_size /dev/block/bootdevice/by-name/userdata", 0, "result 0"},
           {"do_scsi_command_read vendor", 0, "result 0"},
           {"do_scsi_command_read x", 1, "*result 1"},
       }},
      {"system",
       {
           {"get_sleep_mode", 0, "result 0"},
           {"normal_mode_check", 0, "result 0"},
           {"system_get_factory_mode", 0, "result 0"},
           {"system_set_lcd_brightness", 0, "result 0"},
           {"system_set_lcd_brightness_loop", 0, "result 0"},
           {"system_check_minios_romcopy", 0, "result 1"},
           {"system_check_fboot", 0, "result 1"},
           {"system_set_env_property", 0, "result 0"},
           {"system_set_logservice 1", 0, "result 0"},
           {"system_get_pif_status", 0, "result 0"},
           {"system_check_pif_bootmode", 0, "result 0"},
           {"system_get_battery_status", 0, "result 1"},
           {"system_get_cable_type", 0, "result 0"},
           {"system_mkdir_factory", 0, "result 0"},
           {"is_empty_dir /data/factory", 0, "result 0"},
           {"show_current_time", 0, "done"},
           {"set_bootstatus 5", 0, "result 0", "property persist.sys.tav.bootstatus = 5"},
           {": property persist.sys.tav.operator X", 0, "*"},
           {"set_operator_clear", 0, "result 0"},
           {"get_cpu_freq", 0, "*clocks 0,1804800,1804800,300000,1,"},
           {"set_cpu_performance 0", 0, "result 0", "/sys/devices/system/cpu/cpu0/cpufreq/scaling_governor = "},
           {"get_tav_factory_sw_version 0", 0, "version SIM1-V10a_00;result 0"},
           {"get_tav_android_sw_version", 0, "version 8.0.0;result 0"},
           {"get_tav_bynary_revision", 0, "revision 00;result 0"},
           {"get_tav_hw_version", 0, "version 1.0;result 0"},
           {"system_get_model_name", 0, "model SIM-1;result 0"},
           {"system_get_build_date", 0, "date Thu Jan  1 00:00:00 UTC 2026;result 0"},
           {"system_write_version_info", 0, "result 0", "item get 14 = SIM1-V10a_00"},
           {"init_modem_interface 0", 0, "result 0"},
           {"nv_factoryitem_sync", 0, "result 0"},
           {"system_nvwrite_version_info", 0, "result 0"},
           {"system_nvwrite_hwversion_info", 0, "result 0"},
           {"system_nvwrite_model_name_info", 0, "result 0"},
           {"get_tav_factory_sw_fixed_area_version", 0,
            "version SIM1APV10A0-MIM1APV10A0-SIM1CUV10A0-SIM1UDV10A0-0;result 0"},
           {"system_update_settings_from_cust", 0, "result 0", "item get 31 = SIM1APV10A0-MIM1APV10A0"},
           {"get_swfv_userdata_flag", 0, "result 48"},
           {"update_swfv_userdata_flag", 0, "result 0"},
           {"get_swfv_userdata_flag", 0, "result 49"},
           {"is_op_image_support", 0, "result 0"},
           {"get_low_batt_port_block_check", 0, "result 0"},
           {"get_mcc_list \"x\",\"450,a\"", 0, "codes 450;result 0"},
           {"check_sysfs /system/build.prop", 0, "result 0"},
           {"check_sysfs /nothing", 1, "*result -1"},
           {"read_sysfs_count /proc/cmdline 4", 0, "data cons;result 4"},
           {"read_sysfs_count /proc/cmdline 70000", 1, "*result -1"},
           {"read_sysfs /proc/cmdline", 0, "*data console="},
           {"write_eri_sysfs /data/eri/x /data/eri abc", 0, "result 0", "/data/eri/x = abc"},
           {"write_sysfs /data/eri/x hex:64", 0, "result 0", "/data/eri/x = d"},
           {"read_sysfs /data/eri/x", 0, "data d;result 1"},
           {"set_diag_tty_block 1", 0, "done"},
           {"diag_tty_blocked", 0, "result 1"},
           {"set_diag_tty_block 0", 0, "done"},
           {"diag_tty_blocked", 0, "result 0"},
       }},
      {"usb",
       {
           {"get_usb_lock", 0, "result 0"},
           {"set_usb_lock 1", 0, "result 0"},
           {"get_usb_lock", 0, "result 1"},
           {"wait_for_state x", 1, "*result 0"},
           {"usb_path_change_thread", 0, "result 0", "property sys.usb.config = factory,adb"},
           {"usb_mode_change_factory", 0, "result 0", "property sys.usb.config = factory"},
           {"usb_mode_change_cpdm", 0, "result 0", "property sys.usb.config = qmicm,adb"},
           {"usb_mode_change_user", 0, "result 0", "property sys.usb.config = factory,adb"},
           {"usb_path_change", 0, "result 0"},
           {": cable none", 0, "*"},
           {"get_usbstate_from_sys", 0, "result 1"},
           {": cable usb", 0, "*"},
           {"get_usbstate_from_sys", 0, "result 3"},
       }},
      {"readings",
       {
           {"adc_to_val Result:450000~Raw:12", 0, "result 450000"},
           {"get_vcoin_adc", 0, "millivolts 3000;result 0"},
           {"get_vphpwr_adc", 0, "millivolts 4200;result 0"},
           {"get_vbus_adc_value", 0, "microvolts 5000000;result 0"},
           {"get_pcb_rev_adc", 0, "millivolts 900;result 0"},
           {"get_battey_id", 0, "reading Result:1100000 Raw:18000;result 0"},
           {"cable", 0, "cables 100-490=56 610-780=130 1350-1630=910;done"},
           {"check_cable_tbl_exception", 0, "cables 100-490=56 610-780=130 1350-1630=910;done"},
           {": cable 56k", 0, "*"},
           {"get_usb_id_adc", 0, "reading 350000,56;result 0"},
           {"get_usbidadc_status", 0, "*reading Result:350000"},
           {"system_get_cable_type", 0, "result 1"},
           {": battery temp 61.5", 0, "*"},
           {"get_battery_therm", 0, "tenths 615;result 0"},
           {"get_batt_them", 0, "degrees 61.5;result 0"},
           {"set_charge_status 1", 0, "result 0"},
           {"get_charge_status", 0, "enabled 1;result 0"},
           {"set_charging_complete_status 1", 0, "result 0"},
           {"get_charging_complete_status", 0, "complete 1;result 0"},
           {"get_ibat_current", 0, "*current "},
           {"get_ichg_current", 0, "*current "},
           {"check_fuel_model", 0, "model 3;result 0"},
           {"set_fuelguage_reset", 0, "result 0"},
           {"get_fuelgauge_level", 0, "percent 85;result 0"},
           {"get_battery_voltage", 0, "volts 4.20;result 0"},
           {": fuel-gauge none", 0, "*"},
           {"get_battery_voltage", 1, "*volts;result 1;get_battery_voltage says no"},
           {"get_tsens_count", 0, "result 7"},
           {"get_tsens_temp 1", 0, "degrees 35.0;result 0"},
           {"get_tsens_temp x", 64, "*NUMBER: \"x\" is no number from -2147483648 to 2147483647, or 0x and hex"},
           {"get_tsens_temp_rec 0x1", 0, "degrees 35.0;result 0"},
           {"do_tsens 3 1", 0, "answer 3;result 0"},
           {"get_xo_therm_temp", 0, "degrees 30;result 0"},
           {"store_xo_therm Result:31~x", 0, "result 31"},
           {"get_rtc_time", 0, "*time 20"},
           {"get_backcover_color", 0, "colour 0;result 0"},
           {"get_pm_reset", 0, "reason 1;result 0"},
       }},
      {"bluetooth",
       {
           {"bt_resp -3 hello", 0, "told hello;result -3"},
           {"handle_bt_test_mode_query", 0, "mode 1;result 0"},
           {"handle_bt_test_mode_assign 2", 0, "result 0"},
           {"handle_bt_test_mode_query", 0, "mode 2;result 0"},
           {"handle_testmode_bt_test_mode_assign 5", 0, "result 0"},
           {"handle_testmode_bt_test_mode_query", 0, "result 1"},
           {"enter_bt_test_mode 2", 0, "result 0", "bluetooth = test mode, loopback 0"},
           {"enter_bt_test_mode 3", 0, "result 0"},
           {"handle_testmode_btle_tx_test_start 45", 1, "*result 1"},
           {"handle_testmode_btle_test_enable", 0, "result 0"},
           {"handle_testmode_btle_tx_test_start 45", 0, "result 0"},
           {"handle_testmode_btle_tx_test_end", 0, "result 0"},
           {"handle_testmode_btle_rx_test_start 3", 0, "result 0"},
           {": clock advance 1", 0, "*"},
           {"handle_testmode_btle_rx_test_end", 0, "*packets 1600;result 0"},
           {"handle_testmode_btle_test_disable", 0, "result 0"},
           {"bt_check_BleCmd hex:01031e0100", 0, "reply;result 0"},
       }},
      {"the automatic test",
       {
           {": item set 25 1,2,3,4", 0, ""},
           {": item set 17 11,12,1,2", 0, ""},
           {"read_aatset", 0, "set 11,12,1,2;result 0"},
           {"write_aatset 12,12,1,2", 1, "*result 1"},
           {"write_aatset 01,12,1,2", 0, "result 0", "item get 17 = 01,12,1,2"},
           {"savePartialAATSet 01,12,1,2", 0, "result 1"},
           {"isSamePartialSet 01,12,1,2", 0, "result 1"},
           {"isSamePartialSet 11,12,1,2", 0, "result 0"},
           {"read_aatorder", 0, "order 1,2,3,4;result 0"},
           {"write_aatorder 1,2", 1, "*result 1"},
           {"write_aatorder 4,3,2,1", 0, "result 0", "item get 17 = 2,1,12,01"},
           {"write_aatorder", 64, "*write: call write_aatorder ORDER"},
           {"get_this_order 1", 0, "item 3;result 0"},
           {"get_this_order 9", 1, "*item;result 1"},
           {"aat_full", 1, "*result 1"},
           {"get_aatset_by_xml", 0, "*set 1,1211,2,11,1,21,"},
           {"get_test_item_offset 3", 0, "result 7"},
           {"resetTestResult", 0, "result 0"},
           {"check_selfd_result", 0, "result 2"},
           {"check_selfd_E_result", 0, "result 2"},
           {"reset_selfd_result 1 0", 0, "result 0"},
           {"get_nfc_feature_from_property", 0, "result -10"},
           {"get_fmradio_feature_from_property", 0, "result 0"},
           {"get_fmradio_feature_from_version x", 0, "result 0"},
           {"get_dtv_feature_from_version x", 0, "result 0"},
           {"parsing_str_by_comma a,b,,c", 0, "tokens a;b;c;result 0"},
           {"aat_result_write 2101010", 0, "outcome aat_result_write, success;done", "item get 5 = 2101010"},
           {"aat_result_read", 0, "result 2101010;done"},
           {"aat_result_init 2xyz", 0, "*done", "item get 5 = xyz"},
           {"get_devicetest_result", 1, "*result -2"},
           {"set_devicetest_result_init", 0, "result 0"},
           {"aat_result_read", 0, "result;done"},
           {"aat_subdivided_result_write 1 x", 64, "*RESULT: \"x\" is no number"},
           {"aat_subdivided_result_write 1 1", 0, "result 0"},
           {"aat_subdivided_result_write_to_integrated_result 1 1", 0, "result 0"},
           {"midauto_status_set 7", 0, "result 0"},
           {"midauto_status_get", 0, "status 7;result 0"},
           {"write_recondition_status good", 0, "result 0"},
           {"fpenable 1", 0, "result 0"},
           {"spi_test", 0, "test isPass 1, result 0;result 0"},
           {": fingerprint set zone 0 -3", 0, ""},
           {"zone_test", 0, "test isPass 0, result -3;result 0"},
           {"checkerboard_test", 0, "test isPass 1, result 0;result 0"},
           {"rubberstamp_test", 0, "test isPass 1, result 0;result 0"},
           {"get_touch_version", 0, "version TAV_TOUCH_1.0;result 0"},
           {"touch_version_compare TAV_x", 0, "result 0"},
           {"touch_version_compare VAT_x", 1, "*result 1"},
           {"touch_atoi 12ab", 0, "result 12"},
           {"midauto_sdcheck", 0, "result 0"},
       }},
      {"files",
       {
           {"save_file /data/mine hello", 0, "result 0", "/data/mine = hello"},
           {"get_file_command 0 /data/mine", 0, "size 5;data;result 0"},
           {"get_file_command 1 /data/mine", 0, "size 5;data hello;result 0"},
           {"get_file_command 2 /data/mine", 0, "size 5;data;result 0"},
           {"get_file_length /data/nothing", 1, "*result 0"},
           {"get_file_length /data/mine", 0, "result 5"},
           {"get_file_data", 0, "data hello;result 5"},
           {"get_file_data", 0, "data;result 0"},
           {"device_write /dev/block/bootdevice/by-name/misc 4 xyz", 0, "result 0"},
           {"read_sysfs_count /dev/block/bootdevice/by-name/misc 8", 0, "data hex:0000000078797a00;result 8"},
           {"device_write /dev/block/bootdevice/by-name/misc -1 xyz", 1, "*result -22"},
           {"copy_file /data/mine /data/yours", 0, "result 0", "/data/yours = hello"},
           {"copy_file /data/nothing /data/yours", 1, "*result -1"},
           {"makedir /data/a/b", 0, "result 1"},
           {"copy_file /data/mine /data/a/b/c", 0, "result 0"},
           {"copy_dir /data/a /data/d", 0, "result 0", "/data/d/b/c = hello"},
           {"copy_log /data/e/ /data/a/", 0, "done", "/data/e/b/c = hello"},
           {"dir_count /data/e", 0, "result 2"},
           {"dir_print /data/e", 0, "done", "log = /data/e/b/c"},
           {"Delete_Folder /data/e", 0, "result 0"},
           {"Delete_Folder /data/e", 1, "*result -1"},
           {"clear_dest /data/yours", 0, "result 0"},
           {"check_sysfs /data/yours", 1, "*result -1"},
           {"logsave_makezip /data/l.zip /data/a", 0, "result 0"},
           {"FileToZip /data/f.zip /data/mine", 0, "result 0"},
           {"FolderToZip /data/g.zip /data/a", 0, "result 0"},
           {"FolderToZip /data/g.zip /data/nothing", 1, "*result 1"},
           {"FolderFromZip /data/nothing text:", 1, "*result -1"},
           {"filetime /data/mine", 0, "*time 20"},
           {"filetime -", 1, "*time 1970-01-01 00:00:00;result 0"},
       }},
      {"checksums",
       {
           {"calculate_crc 123456789", 0, "result 65256"},
           {"atox ff", 0, "result 255"},
           {"init_modem_interface 0", 0, "result 0"},
           {"code_crc", 0, "*;result 1"},
           {"crc_command 2", 0, "*answer 0x"},
           {"file_crc", 0, "*;result 1"},
           {"getfilesizecrc /nothing 5", 0, "result 5"},
           {"find_file /system/etc", 0, "result 0"},
           {"find_file /nothing", 1, "*result 1"},
           {"get_file_list /system/etc", 0, "paths /system/etc/ap.ubid;result 1"},
           {"save_file /system/etc/file_crc_skip_list.txt hex:2f73797374656d2f6574632f61702e756269640a", 0, "result 0"},
           {"skip_file_list /system/etc", 0, "paths /system/etc/file_crc_skip_list.txt;result 1"},
           {"db_dump", 0, "*;result 1", "/data/dbdump/FILE_CRC/file_crc.txt = "},
           {"crcwizard_file_dump", 0, "*;result 1", "/data/dbdump/file_crc.txt = "},
           {"phone_status_dump", 0, "result 1", "/data/dbdump/phone_status.txt = "},
           {"crcwizard_phone_status_dump", 0, "result 1"},
           {"crcwizard_command 0", 0, "*answer 0x"},
           {"crcwizard_command 1", 1, "*answer ERROR"},
       }},
      {"logs",
       {
           {"LOGGER_DIR", 0, "path /data/logger/;done"},
           {"ANR_DIR", 0, "path /data/anr/;done"},
           {"DONTPANIC_DIR", 0, "path /data/dontpanic/;done"},
           {"TOMBSTONES_DIR", 0, "path /data/tombstones/;done"},
           {"CKERROR_DIR", 0, "path /data/system/ckerror/;done"},
           {"DBDUMP_DIR", 0, "path /data/dbdump/;done"},
           {"MTS_DIR", 0, "path /data/mtslog/;done"},
           {"NVDUMP_DIR", 0, "path /data/nvdump/;done"},
           {"TOUCH_DIR", 0, "path /data/touch/;done"},
           {"ENCRYPT_DIR", 0, "path /cache/encryption_log/;done"},
           {": logs fill", 0, ""},
           {"set_directory_name", 0, "*name 20"},
           {"logsave /data/nowhere/", 1, "*result 1"},
           {"scan_auto_touch_result", 0, "*piece  TOUCH SELF TEST"},
           {"logsave_aat_touch", 0, "*piece  TOUCH SELF TEST"},
           {"check_transfer_status", 0, "more 0;result 0"},
           {"get_crash_count", 0, "crashes 1;result 0"},
           {"crash_log_save 1", 0, "lines Kernel panic - not syncing: Fatal exception in interrupt;result 0"},
           {"erase_crash_count", 0, "result 0"},
           {"get_crash_count", 0, "crashes 0;result 0"},
           {"save_file /data/mine hello", 0, "result 0"},
           {"set_dest_path /data/mine", 0, "path /data/mtslog/log_00000/mine;result 0"},
           {"copy_latest /data/mine", 0, "result 0", "/data/mtslog/log_00000/mine = hello"},
           {"copy_latest /data/nothing", 1, "*result -1"},
           {"copy_to_mtslog", 0, "result 0"},
           {"mts_log_erase", 0, "done"},
           {"check_sysfs /data/mtslog/log_00000/mine", 1, "*result -1"},
           {"mts_log_on", 1, "*result 1"},
           {"mts_log_off", 1, "*result 1"},
           {"mts_get_status", 1, "*works 2;result 2"},
           {"cap_screen", 0, "done"},
           {"dir_count /data/anr", 0, "result 1"},
           {"logsave_erase", 0, "done"},
           {"dir_count /data/anr", 0, "result 0"},
       }},
      {"screen",
       {
           {": display size 20x10 depth 16", 0, "*"},
           {"captureScreen 0 0 20 10 16", 0, "result 400"},
           {"captureScreen 0 0 21 10 16", 1, "*result 0;captureScreen says no"},
           {"captureScreen_all", 0, "width 20;height 10;result 400"},
           {"captureScreenSF 0 0 20 5 16", 0, "result 200"},
           {"convertToBW 100", 0, "*;result 40"},
           {"saveScreenToFile 1 /data/s.png", 0, "result 0", "/data/s.png = \x89PNG"},
       }},
      {"unpack",
       {
           {"save_file /data/mine hello", 0, "result 0"},
           {"FileToZip /data/f.zip /data/mine", 0, "result 0"},
           {"makedir /cache/minios", 0, "result 1"},
           {"FolderFromZip /data/f.zip text:", 0, "result 0", "/cache/minios/data/mine = hello"},
           {"logsave_makezip relative.zip /cache/minios", 0, "result 0", "/relative.zip = PK"},
       }},
      {"log save",
       {{": logs fill", 0, ""}, {"logsave /data/factory/logsave/", 0, "result 0", "/data/factory/logsave.zip = PK"}}},
      {"restart", {{"system_restart", 0, "result 0", "power history = refused reboot"}}},
      {"power-off", {{"system_poweroff", 0, "result 0", "power history = refused power-off"}}},
      {"download", {{"system_dload", 0, "result 0", "power history = refused reboot dload"}}},
      {"restart into the test", {{"system_aat", 0, "result 0", "power history = refused reboot"}}},
      {"restart at once", {{"restart", 0, "done", "power history = refused reboot"}}},
      {"power-off at once", {{"poweroff", 0, "done", "power history = refused power-off"}}},
      {"a reason", {{"restart_with_reason bootloader", 0, "done", "power history = refused reboot bootloader"}}},
      {"the cable is pulled",
       {
           {": cable none", 0, "*"},
           {"power_off_with_cable", 0, "result 0"},
           {"retry_power_off_with_cable", 0, "*result"},
           {"wait_for_cable_disconnect", 0, "done", "power history = refused power-off"},
       }},
      {"reset steps",
       {
           {"init_modem_interface 0", 0, "result 0"},
           {"hiddenmenu_frst", 0, "result 0"},
           {"set_lcd_break_mode 1", 0, "result 0"},
           {"frst_factory_item_clear", 0, "done", "item get 101 = 0"},
           {"frst_run 0", 0, "result 0", "item get 2 = 1"},
           {"sfactoryreset", 0, "result 0", "item get 2 = 2"},
           {"check_setupwizard_complete", 0, "done"},
           {"save_file /persist-rz/callduration/x 1", 1, "*result -1"},
           {"factory_reset_callduration_erase", 0, "done"},
           {"erase_partition", 0, "result 0"},
           {"xboot_data_init", 0, "done"},
       }},
      {"reset", {{"hidden_factoryreset", 0, "result 0", "item get 2 = 5"}}},
      {"reset with the card", {{"hidden_factoryreset_sdcard", 0, "result 0", "item get 2 = 5"}}},
      {"reset on a thread", {{"factoryreset_crst", 0, "result 0"}}},
      {"reset and power-off",
       {{"hidden_factoryreset_sdcard_power_off", 0, "result 0", "power history = refused power-off"}}},
      {"deletion", {{"factory_delete", 0, "result 0", "log = factory_delete_result"}}},
  };
  return all;
}

class CallsTest : public Phone {
 protected:
  CallsTest() : started_in_(open(".", O_RDONLY | O_CLOEXEC)) {
    EXPECT_EQ(0, chdir(root_.c_str()));  // as the daemon does
    device().host.call = [](const Words& given) -> sim::HostAnswer {
      const CallAnswer answer = run(read_call(given), {"atdctl phone log", true});
      return {answer.text, answer.json, answer.status, answer.error};
    };
  }

  ~CallsTest() override {
    EXPECT_EQ(0, fchdir(started_in_));
    close(started_in_);
    if (platform_.joinable()) {
      stop_socket();
      platform_.join();
    }
  }

  void serve() {
    init_socket();
    auto service = std::make_shared<Peer>(device().path("/dev/socket/atd"));
    service->line("x");
    service->next();
    platform_ = std::thread([service] {
      for (std::string text; (text = service->next()) != "(closed)";) {
        if (text.starts_with("605 ")) service->line(response_line({.data = "yes"}));
      }
    });
  }

  ControlReply tell(const Words& words, bool json = false) {
    ControlReply told;
    sim::run_verb(device(), {words, json, ""}, [&](const ControlReply& reply) {
      told = {told.out + reply.out, reply.last, reply.status, reply.error};
      return true;
    });
    return told;
  }

  static Words words_of(const std::string& text) {
    Words all = words(text);
    for (std::string& word : all) std::replace(word.begin(), word.end(), '~', ' ');
    return all;
  }

  void play(const Step& step) {
    const bool verb = step.words[0] == ':';
    Words given = words_of(verb ? step.words + 1 : step.words);
    if (!verb) given.insert(given.begin(), {"call", "--yes"});
    const ControlReply told = tell(given);
    EXPECT_EQ(step.status, told.status) << told.error;
    std::string out = told.out + told.error;
    std::replace(out.begin(), out.end(), '\n', ';');
    if (step.says[0] == '*') EXPECT_TRUE(has(out, step.says + 1)) << out;
    else EXPECT_EQ(step.says + std::string(*step.says ? ";" : ""), out);
    look(step.effect);
  }

  void look(const std::string& effect) {
    if (effect.empty()) return;
    device().threads.await_none();
    const size_t at = effect.find(" = ");
    const std::string where = effect.substr(0, at), what = effect.substr(at + 3);
    if (where == "log") {
      EXPECT_GT(logged(what) + errors(what), 0) << what;
    } else if (where[0] == '/') {
      const std::string text = content(root_ + where);
      EXPECT_TRUE(std::filesystem::exists(root_ + where) && text.starts_with(what)) << where << ": " << text;
    } else {
      const ControlReply told = tell(words_of(where));
      EXPECT_TRUE(has(told.out, what)) << where << ": " << told.out << told.error;
    }
  }

  int started_in_;
  std::thread platform_;
};

class Stories : public CallsTest, public testing::WithParamInterface<size_t> {};

TEST_P(Stories, EachCallDoesWhatItSays) {
  const Story& story = stories()[GetParam()];
  if (story.platform) serve();
  for (const Step& step : story.steps) {
    SCOPED_TRACE(std::string(story.name) + ": " + step.words);
    play(step);
  }
  device().threads.await_none();
}

INSTANTIATE_TEST_SUITE_P(All, Stories, testing::Range(size_t{0}, stories().size()));

TEST_F(CallsTest, EveryFunctionHasBeenCalled) {
  std::set<std::string> called, named;
  for (const Story& story : stories()) {
    for (const Step& step : story.steps) called.insert(words(step.words)[0]);
  }
  for (const Call& call : calls()) {
    EXPECT_TRUE(called.count(call.name)) << call.name << " is called by no story";
    EXPECT_TRUE(named.insert(call.name).second) << call.name << " stands twice";
  }
}

TEST_F(CallsTest, WhatDestroysIsRefused) {
  const ControlReply told = tell({"call", "device_write", "/dev/block/bootdevice/by-name/misc", "0", "x"});
  EXPECT_EQ(64, told.status);
  EXPECT_TRUE(told.error.ends_with("add --yes")) << told.error;
  EXPECT_EQ("", told.out);
}

TEST(CallsOffline, TheEffects) {
  std::string destroying, remembering;
  for (const Call& call : calls()) {
    if (call.effects & kDestroys) destroying += call.name + std::string(" ");
    if (call.effects & kRemembers) remembering += call.name + std::string(" ");
  }
  EXPECT_EQ(
      "request_to_system set_factory_status set_pid set_lcd_cal_data set_imei_ftm_item set_meid_ftm_item "
      "bt_addr_write handle_testmode_bt_write_request write_tav_impl write_tav_bcpl write_tav_idde "
      "write_tav_otpe write_tav_fusg write_tav_cdbe write_tav_bcpe write_tav_pid2 write_tav_btad write_tav_pid "
      "write_tav_imei read_tav_imei write_pid send_modem_data tav_diag_nvwrite get_tav_data_from_modem efs_write "
      "efs_unlink mmc_mmcformat factory_format mmc_mmcfactoryformat system_restart system_poweroff system_dload "
      "system_aat restart poweroff restart_with_reason power_off_with_cable wait_for_cable_disconnect "
      "retry_power_off_with_cable system_set_env_property set_operator_clear pattern_clear "
      "set_tav_test_script_cal_data tav_vco_self_tunning_write tav_reset_modem write_sysfs write_eri_sysfs "
      "set_fuelguage_reset handle_atcmd_btad_assign resetTestResult set_devicetest_result_init save_file "
      "device_write copy_log logsave_makezip logsave_erase Delete_Folder erase_crash_count copy_file copy_dir "
      "clear_dest mts_log_erase saveScreenToFile FileToZip FolderToZip FolderFromZip sfactoryreset frst_run "
      "frst_modem_data_clear frst_factory_item_clear factory_reset_callduration_erase hidden_factoryreset "
      "hidden_factoryreset_sdcard factoryreset_crst hidden_factoryreset_sdcard_power_off erase_external_sdcard "
      "factory_delete erase_partition xboot_data_init tav_reset_production ",
      destroying);
  EXPECT_EQ(
      "ckpd_mapping qem_get_status modem_flight_status modem_flight_mode_get_status get_flight_status do_tsens "
      "set_diag_tty_block diag_tty_blocked handle_testmode_btle_test_enable handle_testmode_btle_test_disable "
      "handle_testmode_btle_tx_test_start handle_testmode_btle_tx_test_end handle_testmode_btle_rx_test_start "
      "handle_testmode_btle_rx_test_end get_file_command get_file_data find_file hiddenmenu_frst ",
      remembering);
}

TEST_F(CallsTest, ALongTextFitsItsAnswer) {
  const ControlReply most = tell({"call", "bt_resp", "1", std::string(65535, 'x')});
  EXPECT_EQ("told " + std::string(65535, 'x') + "\nresult 1\n", most.out);
  const ControlReply told = tell({"call", "bt_resp", "1", std::string(100000, 'x')});
  EXPECT_EQ("64 TEXT has 100000 bytes; there is room for 65535 bytes", std::to_string(told.status) + " " + told.error);
}

TEST(CallsOffline, EveryHelpFits80Columns) {
  std::string text = explain({}).text;
  for (const Call& call : calls()) text += explain({&call, {}, true}).text;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
}

TEST_F(CallsTest, TheAnswerAsJson) {
  const std::pair<Words, std::string> rows[] = {
      {{"get_qem"}, R"({"name":"get_qem","arguments":[],"result":0,"out":{},"status":0,"error":null})"},
      {{"bt_resp", "1", "a\"\\\n\xc3\xa9"},
       R"({"name":"bt_resp","arguments":["1","a\"\\\né"],"result":1,"out":{"told":"a\"\\\né"},"status":0,"error":null})"},
      {{"bt_resp", "1", "hex:ff"},
       R"({"name":"bt_resp","arguments":["1","hex:ff"],"result":1,"out":{"told":{"hex":"ff"}},"status":0,"error":null})"},
      {{"bt_addr_ascii_to_hexa", "414141414141"},
       R"({"name":"bt_addr_ascii_to_hexa","arguments":["414141414141"],"result":0,"out":{"address":{"hex":"414141414141"}},)"
       R"("status":0,"error":null})"},
      {{"zone_test"},
       R"({"name":"zone_test","arguments":[],"result":0,"out":{"test":{"isPass":1,"result":0}},"status":0,"error":null})"},
      {{"show_current_time"},
       R"({"name":"show_current_time","arguments":[],"result":null,"out":{},"status":0,"error":null})"},
      {{"is_empty_dir", "/x"},
       R"({"name":"is_empty_dir","arguments":["/x"],"result":-1,"out":{},"status":1,"error":"is_empty_dir says no (-1); )"
       R"(the log may say why: atdctl phone log"})"},
      {{"bt_resp", "\xff", "x"},
       R"({"name":"bt_resp","status":64,"error":"RESULT: \"hex:ff\" is no number from -2147483648 to 2147483647, or 0x )"
       R"(and hex"})"},
      {{"poweroff"},
       R"({"name":"poweroff","status":64,"error":"poweroff destroys data or ends the phone's run; if that is meant, )"
       R"(add --yes"})"},
  };
  for (auto [given, json] : rows) {
    SCOPED_TRACE(given[0]);
    given.insert(given.begin(), "call");
    const ControlReply told = tell(given, true);
    EXPECT_EQ(json + "\n", told.out);
    EXPECT_EQ("", told.error);
    EXPECT_EQ("", client::not_as_documented({"phone", "call"}, told.out));
  }
}

TEST_F(CallsTest, ALongCallTellsHowFarItIs) {
  for (const char* name : {"a", "b"}) put(std::string("/data/") + name, std::string(3 << 20, 'x'));
  device().host.read_so_far = [] { return sim::HostReading{read_so_far().files, read_so_far().bytes}; };
  std::promise<void> heard;
  device().host.call = [&](const Words&) {
    std::string bytes(3 << 20, '\0');
    for (const char* name : {"/data/a", "/data/b"}) {
      const int fd = open_file(name);
      EXPECT_EQ(bytes.size(), read_up_to(fd, bytes.data(), bytes.size()));
      close(fd);
    }
    heard.get_future().wait();
    return sim::HostAnswer{"done\n", "{}", 0, ""};
  };
  std::string progress, out;
  sim::run_verb(device(), {{"call", "x"}, false, "", true}, [&](const ControlReply& reply) {
    if (progress.empty() && !reply.progress.empty()) heard.set_value();
    progress += reply.progress;
    out += reply.out;
    return true;
  });
  EXPECT_TRUE(progress.starts_with("2 files, 6 MiB read")) << progress;
  EXPECT_EQ("done\n", out);
}

TEST_F(CallsTest, WhatIsNotThereIsExplained) {
  const std::tuple<const char*, int, const char*> rows[] = {
      {"get_touch_versio", 64, "nearest: get_touch_version"},
      {"init_socket", 64, "init_socket is not called by name: the daemon serves its socket already"},
      {"lock", 64, "a host's own threads use it"},
      {"get_qem 1", 64, "write: call get_qem"},
      {"bt_resp 1 hex:4100", 64, "TEXT: \"hex:4100\" is a text with a NUL in it"},
      {"set_qem 2147483648", 64, "is no number"},
      {"set_qem 1.", 64, "is no number"},
      {"set_qem +1", 64, "is no number"},
      {"", 0, "!mmc_mmcformat "},
      {"mmc_mmcformat --help", 0, "Usage: call mmc_mmcformat --yes\nFormats the SD card.\n\n  outcome       a text\n"},
      {"set_pid --help", 0, "PID           at most 30 bytes: a text, hex:00ff or text:..."},
      {"set_qem -- --yes", 64, "VALUE: \"--yes\" is no number"},
  };
  for (const auto& [given, status, says] : rows) {
    const ControlReply told = tell(words_of("call " + std::string(given)));
    EXPECT_EQ(status, told.status) << given;
    EXPECT_TRUE(has(told.out + told.error, says)) << given << ": " << told.out << told.error;
  }
}

TEST(CallsOffline, TheTableIsInTheClient) {
  const auto told = [](const client::Strings& words) { return client::atdctl("", words).out; };
  EXPECT_TRUE(has(told({"phone", "call"}), "!erase_partition "));
  EXPECT_TRUE(has(told({"phone", "call", "get_tsens_temp", "--help"}), "\n  NUMBER        a number from -2147483648"));
  EXPECT_TRUE(has(told({"completion", "bash"}), "\nget_tsens_temp\tTells the degrees of the thermal zone"));
  EXPECT_TRUE(has(told({"manual"}), ".TP\n\\fBpoweroff\\fR\nSwitches the phone off"));
  const client::Outcome wrong = client::atdctl("", {"phone", "call", "get_qme", "--json"});
  EXPECT_EQ(64, wrong.status);
  EXPECT_TRUE(has(wrong.out, R"({"status":64,"error":"no function is named \"get_qme\"; nearest: get_qem)"))
      << wrong.out;
  EXPECT_TRUE(has(told({"phone", "call", "\xff", "--json"}), R"("error":"no function is named \"hex:ff\")"));
}

TEST(CallsOffline, APersonOnATerminalIsAsked) {
  int terminal, other_end;
  ASSERT_EQ(0, openpty(&terminal, &other_end, nullptr, nullptr, nullptr));
  const int before[] = {dup(STDIN_FILENO), dup(STDERR_FILENO)};
  dup2(other_end, STDIN_FILENO);
  dup2(other_end, STDERR_FILENO);
  std::string outcomes;
  for (const char* typed : {"n\n", "y\n", "\n"}) {
    EXPECT_GT(write(terminal, typed, strlen(typed)), 0);
    CallRequest request = read_call({"poweroff"});
    outcomes += confirm(&request) ? 'c' : '-';
    outcomes += request.yes ? 'y' : '-';
  }
  CallRequest harmless = read_call({"get_qem"});
  EXPECT_TRUE(confirm(&harmless) && !harmless.yes);
  char asked[200] = "";
  EXPECT_GT(read(terminal, asked, sizeof asked - 1), 0);
  Words sent;
  {
    client::FakeServer phone("sim", "control", [&](int fd) {
      std::string line;
      for (char c; read(fd, &c, 1) == 1 && c != '\n';) line += c;
      ControlRequest request;
      EXPECT_TRUE(from_line(line, &request)) << line;
      sent = request.words;
      client::FakeServer::say(fd, to_line(ControlReply{.last = true}) + "BYE");
    });
    EXPECT_GT(write(terminal, "y\n", 2), 0);
    client::atdctl("", {"phone", "--device", phone.root(), "call", "set_pid", "--", "--yes"}, "", [&] {
      dup2(other_end, STDIN_FILENO);
      dup2(other_end, STDERR_FILENO);
    });
  }
  EXPECT_EQ((Words{"call", "--yes", "set_pid", "--", "--yes"}), sent);
  dup2(before[0], STDIN_FILENO);
  dup2(before[1], STDERR_FILENO);
  for (int fd : {terminal, other_end, before[0], before[1]}) close(fd);
  EXPECT_EQ("--cy--", outcomes);
  EXPECT_TRUE(has(asked, "poweroff destroys data or ends the phone's run; go on? [y/N] ")) << asked;
}

TEST_F(CallsTest, TheDaemonsOwnCommand) {
  const auto call = [](std::vector<const char*> given) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = call_command(static_cast<int>(given.size()), given.data());
    return std::to_string(status) + "|" + testing::internal::GetCapturedStdout() + "|" +
           testing::internal::GetCapturedStderr();
  };
  EXPECT_EQ("0|volts 4.20\nresult 0\n||", call({"get_battery_voltage"}) + "|");
  EXPECT_EQ("0|result 0\n|", call({"efs_write", "/nv/item", "a", "--yes"})) << "the modem interface is open";
  EXPECT_EQ(
      "1|answer\nresult 1\n|atd: pattern_clear says no (1); what asks the platform fails outside the daemon's own "
      "process; the log may say why: logcat -d -b all\n",
      call({"pattern_clear", "x", "--yes"}));
  EXPECT_EQ(
      "64||atd: get_flight_status works on what the daemon's process remembers, and this is a process of its own\n",
      call({"get_flight_status"}));
  EXPECT_TRUE(has(call({"get_flight_status", "--help"}), "process remembers;"));
  EXPECT_TRUE(has(call({"--json", "poweroff"}), R"(64|{"name":"poweroff","status":64,)"));
  EXPECT_EQ("0|result 0\n|", call({"system_restart", "--yes"}));
  EXPECT_TRUE(has(tell({"power", "history"}).out, "refused reboot")) << "it ends after the restart";
  EXPECT_TRUE(has(call({}), "get_battery_voltage"));
}

}  // namespace
}  // namespace atd
