// The factory items by name.
#pragma once

#pragma GCC visibility push(default)

// The QEM flag (factory boot) as it was last read or written.
extern int qem_get_status;

// Opens the factory item store; 0, or -1.
int init_factory_item(int arg);

// Byte flags: a getter returns the byte, 0..255, or -1 when the store fails; a setter stores the value's low byte and
// returns 0, or -1.
int get_factory_status();
int set_factory_status(int value);  // writes the trace, too; 3 also removes the locale and agreement files
int get_qem();                      // on success also in qem_get_status
int set_qem(int value);             // on success also in qem_get_status
int get_charger_skip();
int set_charger_skip(int value);
int get_frst_running();
int set_frst_running(int value);
int get_workfrstmodeon_status();
int set_workfrstmodeon_status(int value);
int get_wine_ime();
int set_wine_ime(int value);
int get_hiddenMenu_extension();
int set_hiddenMenu_extension(int value);
int set_lcd_break_mode(int value);
int get_testmode();
int set_testmode(int value);
int get_mfts_status();
int get_radiation_result();
int set_radiation_result(int value);
int get_fsg_wp_enable();
int set_fsg_wp_enable(int value);
int get_use_fsg();
int set_use_fsg(int value);
int get_use_fsg_count();
int set_use_fsg_count(int value);
int get_fsg_wp_status();
int set_fsg_wp_status(int value);
int get_ship_mode_status();
int set_ship_mode_status(int value);
int get_scan_dm0_enable();
int set_scan_dm0_enable(int value);
int get_scan_dm0_status();
int set_scan_dm0_status(int value);
int get_copy_preload_status();
int set_copy_preload_status(int value);

// Whole items: the buffer has the item's length, given in bytes; 0, or -1 when the store fails. A text is padded with
// NULs, and a full one has no terminator. The items marked "clears" are filled with zeros first.
int get_pid(char* buffer);                                      // 30
int set_pid(const char* buffer);                                // 30
int get_lcd_cal_data(char* buffer);                             // 4
int set_lcd_cal_data(const char* buffer);                       // 4
int get_dload_factory_reset_flag_ftm_item(char* buffer);        // 1
int set_dload_factory_reset_flag_ftm_item(const char* buffer);  // 1
int get_imei_ftm_item(char* buffer);                            // 20
int set_imei_ftm_item(const char* buffer);                      // 20
int get_sw_version_ftm_item(char* buffer);                      // 70
int set_sw_version_ftm_item(const char* buffer);                // 70
int get_sw_original_version_ftm_item(char* buffer);             // 70
int set_sw_original_version_ftm_item(const char* buffer);       // 70
int get_aatset(char* buffer);                                   // 128
int set_aatset(const char* buffer);                             // 128, clears
int get_diag_enable_status_from_misc(char* buffer);             // 512
int set_diag_enable_status_to_misc(const char* buffer);         // 512
int get_aat_test_order(char* buffer);                           // 128
int set_aat_test_order(const char* buffer);                     // 128, clears
int get_sw_fixed_area_version_ftm_item(char* buffer);           // 50
int set_sw_fixed_area_version_ftm_item(const char* buffer);     // 50
int get_buyer_item(char* buffer);                               // 8
int set_buyer_item(const char* buffer);                         // 8
int get_set_revision(char* buffer);                             // 10
int set_set_revision(const char* buffer);                       // 10
int get_selfd_result(char* buffer);                             // 64
int get_pre_selfde_enable(char* buffer);                        // 8
int get_sniff_download_config(char* buffer);                    // 512
int set_sniff_download_config(const char* buffer);              // 512
int get_sdcard_download_path(char* buffer);                     // 512
int set_sdcard_download_path(const char* buffer);               // 512
int get_meid_ftm_item(char* buffer);                            // 20
int set_meid_ftm_item(const char* buffer);                      // 20
int get_ldaf_cal_ftm_item(char* buffer);                        // 10
int get_saatresult(char* buffer);                               // 128
int set_saatresult(const char* buffer);                         // 128, clears
int get_midauto_result(char* buffer);                           // 128
int set_midauto_result(const char* buffer);                     // 128, clears
int get_midauto_crc_list(char* buffer);                         // 40; a positive result of the store is a failure here
int set_midauto_crc_list(const char* buffer);                   // 40, clears
int get_gpio_sum(char* buffer);                                 // 4
int set_gpio_sum(const char* buffer);                           // 4
int get_os_upgrade_flag_ftm_item(char* buffer);                 // 10, always terminated
int set_os_upgrade_flag_ftm_item(const char* buffer);           // 10

// Stores whether self-diagnosis runs before the test, as a digit character; 0, or -1.
int set_pre_selfde_enable(int value);

// The CRC wizard's state, one digit character without a terminator; a longer value keeps its first digit. 0, or -1.
int get_crcwizard(char* buffer);
int set_crcwizard(int value);

// Appends a factory status to the history of all that were written; 0, or -1.
int set_frst_trace(int value);

// The first character of the device-test result as a digit's value, or -1.
int get_devicetestp_result();

// Read any item of 2048 bytes, and any item of one byte. The first returns 0, the second the byte; both -1 on failure.
int get_string_ftm_by_index(unsigned index, char* buffer);
int get_int_ftm_by_index(unsigned index);

#pragma GCC visibility pop
