// The system: power, sleep, versions, the processor, USB, flight mode, readings.
#include <string.h>

#include <string>

#include "daemon/calls/row.h"

namespace atd {

namespace {

int read_modem_flight_status() { return modem_flight_status; }

// "ABOVE-UP TO=KILO-OHMS" for each cable, with spaces between them.
void tell_cables(const int32_t (&rows)[3][3], char* out) {
  std::string text;
  for (const auto& row : rows) {
    text += (text.empty() ? "" : " ") + std::to_string(row[0]) + "-" + std::to_string(row[1]) + "=" +
            std::to_string(row[2]);
  }
  put(text, out);
}

void tell_cable(char* out) { tell_cables(cable, out); }

void tell_exception(char* out) {
  int32_t table[3][3];
  memcpy(table, cable, sizeof table);
  check_cable_tbl_exception(table);
  tell_cables(table, out);
}

// The arguments are joined by commas anyway.
int detach_by_text(char* text, char* response) { return detach(&text, 1, response); }

int read_whole(const char* path, void* data, int* length) { return *length = read_sysfs(path, data); }

int read_beginning(const char* path, int count, void* data, int* length) {
  if (count < 0 || count > static_cast<int>(kToldSize)) return -1;
  const int got = read_sysfs(path, data, count);
  *length = got < 0 ? 0 : got;
  return got;
}

}  // namespace

std::vector<Row> system_calls() {
  return {
      {FUNCTION(system_restart), "", zero, "Restarts the phone.", kDestroys},
      {FUNCTION(system_poweroff), "", zero, "Switches the phone off.", kDestroys},
      {FUNCTION(system_dload), "", zero, "Restarts the phone into download mode.", kDestroys},
      {FUNCTION(system_aat), "", zero, "Restarts the phone into the automatic test.", kDestroys},
      {FUNCTION(restart), "", any, "Restarts the phone without writing the modem's file system out.", kDestroys},
      {FUNCTION(poweroff), "", any, "Switches the phone off without writing the modem's file system out.", kDestroys},
      {FUNCTION(restart_with_reason), "REASON", any, "Restarts the phone with a reason for its boot loader.",
       kDestroys},
      {FUNCTION(system_efs_sync), "", zero, "Writes the modem's file system out."},
      {FUNCTION(system_sleep), "", zero, "Puts the phone to sleep.", kAsksPlatform},
      {FUNCTION(system_wakeup), "", zero, "Wakes the phone.", kAsksPlatform},
      {FUNCTION(system_android_sleep), "SLEEP", zero, "Asks the platform to sleep, or to wake (0).", kAsksPlatform},
      {FUNCTION(get_sleep_mode), "", any, "Tells whether the screen is dark: 1, else 0."},
      {FUNCTION(normal_mode_check), "", any, "Tells whether the boot is a factory or other special one: 1, else 0."},
      {FUNCTION(system_get_factory_mode), "", any, "Tells the factory boot mode, 0 to 2."},
      {FUNCTION(system_set_lcd_brightness), "", zero, "Sets the minimum brightness where a cable alone feeds it.",
       kInDaemon},
      {FUNCTION(system_set_lcd_brightness_loop), "", zero, "Keeps the brightness at its minimum for 16 seconds.",
       kInDaemon},
      {FUNCTION(power_off_with_cable), "", zero, "Switches the phone off once the factory cable is pulled.", kDestroys},
      {FUNCTION(wait_for_cable_disconnect), "", any,
       "Switches the phone off once the factory cable is pulled, and waits for it.", kDestroys},
      {FUNCTION(retry_power_off_with_cable), "", zero,
       "Goes on with power_off_with_cable after a restart of the daemon.", kDestroys},
      {FUNCTION(system_check_minios_romcopy), "", any, "Tells whether the system is a ROM copy: 0, else 1."},
      {FUNCTION(system_check_fboot), "", any, "Tells whether the boot is complete: 1, else 0."},
      {FUNCTION(system_set_env_property), "", zero, "Sets the properties of the boot mode.", kDestroys},
      {FUNCTION(system_set_logservice), "ON", zero, "Switches the log service on, or off (0)."},
      {FUNCTION(system_get_pif_status), "", any, "Tells whether a PIF cable is connected: 1, else 0."},
      {FUNCTION(system_check_pif_bootmode), "", any, "Tells whether a PIF cable booted the phone: 1, else 0."},
      {FUNCTION(system_get_battery_status), "", any, "Tells whether there is a battery: 1, else 0."},
      {FUNCTION(system_get_cable_type), "", value, "Tells the factory cable, 1 to 3, or 0."},
      {FUNCTION(system_mkdir_factory), "", zero, "Makes the folder /data/factory."},
      {FUNCTION(show_current_time), "", any, "Logs the local time."},
      {FUNCTION(set_bootstatus), "VALUE", zero, "Stores the status that the next boot begins with."},
      {FUNCTION(set_operator_clear), "", zero, "Forgets the operator.", kDestroys},
      {FUNCTION(get_cpu_freq), "clocks:1024#", zero, "Tells the clocks of the processor in kHz."},
      {FUNCTION(set_cpu_performance), "MODE", zero, "Makes the processor fast, or slow (0)."},
      {FUNCTION(get_tav_factory_sw_version), "TYPE version:128#", zero, "Tells the factory software version."},
      {FUNCTION(get_tav_android_sw_version), "version:92#", zero, "Tells the Android version."},
      {FUNCTION(get_tav_bynary_revision), "revision:3#", zero, "Tells the binary revision."},
      {FUNCTION(system_get_model_name), "model", zero, "Tells the model's name."},
      {FUNCTION(system_get_build_date), "date", zero, "Tells the build date."},
      {FUNCTION(system_write_version_info), "", zero, "Copies the software version to its factory items."},
      {FUNCTION(system_write_pid_info), "", zero, "Copies the modem's product ID to its factory item."},
      {FUNCTION(nv_factoryitem_sync), "", zero, "Copies the versions to the modem's numbered items."},
      {FUNCTION(system_nvwrite_version_info), "", zero, "Copies the software version to the modem."},
      {FUNCTION(system_nvwrite_hwversion_info), "", zero, "Copies the hardware version to the modem."},
      {FUNCTION(system_nvwrite_model_name_info), "", zero, "Copies the model's name to the modem."},
      {FUNCTION(get_tav_factory_sw_fixed_area_version), "version:50#", zero, "Tells the fixed area's version."},
      {FUNCTION(system_update_settings_from_cust), "", zero, "Copies the fixed area's version to its factory item."},
      {FUNCTION(get_swfv_userdata_flag), "", any, "Tells the character of the user data's flag."},
      {FUNCTION(update_swfv_userdata_flag), "", zero, "Sets the user data's flag."},
      {FUNCTION(is_op_image_support), "", any, "Tells whether the phone has an operator's image: 1, else 0."},
      {FUNCTION(system_powerkey_hardreset_enable), "DIGIT", zero,
       "Switches the power key's hard reset on, or off (0)."},
      {FUNCTION(system_set_caldata_check_prop), "", zero, "Copies the modem's check of its calibration to a property."},
      {FUNCTION(get_low_batt_port_block_check), "", any, "Tells whether ports are to be blocked: 1, else 0."},
      {FUNCTION(system_osupgrade_notify), "", zero, "Tells the platform of an upgrade of the system.",
       kAsksPlatform | kInDaemon},
      {"detach", detach_by_text, "ARGUMENTS answer", zero, "Detaches from the network by arguments with commas."},
      {FUNCTION(pattern_clear), "TEXT answer", zero, "Clears the screen's lock pattern.", kDestroys | kAsksPlatform},
      {FUNCTION(get_phone_number), "number:2048#", zero, "Asks the platform for the phone number.", kAsksPlatform},
      {FUNCTION(get_mcc_list), "TEXT codes", zero, "Takes the codes out of a list of quoted texts."},

      {"modem_flight_status", read_modem_flight_status, "", any, "Tells the modem's flight mode as last set.",
       kInDaemon},
      {FUNCTION(flight_mode_get_status), "status", zero, "Asks the platform for its flight mode.", kAsksPlatform},
      {FUNCTION(flight_set_mode), "TEXT answer", zero, "Sets the platform's flight mode.", kAsksPlatform},
      {FUNCTION(flight_set_mode_to_modem), "MODE answer", zero, "Switches the modem's flight mode on (1) or off.",
       kAsksPlatform | kInDaemon},
      {FUNCTION(modem_flight_mode_get_status), "status", zero, "Tells the modem's flight mode as text.", kInDaemon},
      {FUNCTION(get_flight_status), "", any, "Tells the modem's flight mode.", kInDaemon},
      {FUNCTION(wait_for_state), "STATE", one, "Waits about a second for sys.usb.state to have this value: 1, else 0."},
      {FUNCTION(get_usb_lock), "", value, "Tells the USB lock."},
      {FUNCTION(set_usb_lock), "DIGIT", zero, "Sets the USB lock."},
      {FUNCTION(usb_path_change), "", zero, "Takes the USB port to the composition factory,adb on a thread."},
      {FUNCTION(usb_path_change_thread), "", zero,
       "Takes the USB port to the composition factory,adb and waits for it."},
      {FUNCTION(usb_mode_change_user), "", zero, "Opens the USB lock and asks for the composition factory,adb."},
      {FUNCTION(usb_mode_change_factory), "", zero, "Asks for the composition factory and closes the USB lock."},
      {FUNCTION(usb_mode_change_cpdm), "", zero, "Opens the USB lock and asks for the composition qmicm,adb."},
      {FUNCTION(get_usbstate_from_sys), "", any, "Tells the USB port: 1 nothing, 2 a host, 3 one that configured it."},
      {FUNCTION(set_tav_test_script_item), "", zero, "Switches the modem's test script on."},
      {FUNCTION(get_tav_test_script_mode), "mode:2048#", zero, "Tells the test script's mode."},
      {FUNCTION(set_tav_test_script_cal_data), "KIND", zero, "Backs up (0), restores (1) or resets (2) calibration.",
       kDestroys},
      {FUNCTION(tav_wcdma_maxpower_on), "", zero, "Switches WCDMA to its maximum power."},
      {FUNCTION(tav_wcdma_maxpower_off), "", zero, "Switches WCDMA back."},
      {FUNCTION(tav_cal_check_read), "data", zero, "Tells the calibration data."},
      {FUNCTION(tav_cal_data_check), "found", zero, "Tells what the modem's check of its calibration data found."},
      {FUNCTION(tav_vco_self_tunning_write), "", zero, "Runs the VCO's self-tuning.", kDestroys},
      {FUNCTION(tav_vco_self_tunning_read), "", zero, "Tells the outcome of the VCO's self-tuning."},
      {FUNCTION(tav_check_modem_cmd_ready), "", zero, "Tells whether the modem takes commands: 0, else 1."},
      {FUNCTION(rf_device_check), "fault", zero, "Has the modem check the RF devices."},
      {FUNCTION(tav_check_modem), "", zero, "Tells whether the modem has booted: 0, else 1."},
      {FUNCTION(tav_reset_modem), "", zero, "Restarts the modem.", kDestroys},

      {FUNCTION(check_sysfs), "PATH", zero, "Tells whether a file opens for reading."},
      {"read_sysfs", read_whole, "PATH data:4097#", value, "Reads a file, at most 4096 bytes."},
      {"read_sysfs_count", read_beginning, "PATH COUNT data:65536#", value, "Reads the first bytes of a file."},
      {FUNCTION(write_sysfs), "PATH DATA#", zero, "Replaces the content of a file that is there.", kDestroys},
      {FUNCTION(write_eri_sysfs), "PATH FOLDER DATA#", zero, "Writes a file as its folder's owner would.", kDestroys},
      {FUNCTION(get_tav_hw_version), "version:6#", zero, "Tells the hardware version."},
      {"adc_to_val", adc_to_val, "TEXT", any, "Takes the number out of a converter's text."},
      {FUNCTION(get_vcoin_adc), "millivolts", zero, "Tells the coin cell's voltage in millivolts."},
      {FUNCTION(get_vphpwr_adc), "millivolts", zero, "Tells the system's voltage in millivolts."},
      {FUNCTION(get_vbus_adc_value), "microvolts", zero, "Tells the USB input's voltage in microvolts."},
      {FUNCTION(get_pcb_rev_adc), "millivolts", zero, "Tells the millivolts of the board revision's divider."},
      {FUNCTION(get_battey_id), "reading", zero, "Tells the reading of the battery's ID."},
      {"cable", tell_cable, "cables", any, "Tells the factory cables: above and up to so many mV, and kilo-ohms.",
       kInDaemon},
      {"check_cable_tbl_exception", tell_exception, "cables", any, "Tells the factory cables as this board has them."},
      {FUNCTION(get_usb_id_adc), "reading", zero, "Tells the microvolts at the USB ID pin, and the factory cable."},
      {FUNCTION(get_usbidadc_status), "reading", zero, "Tells the text of the USB ID pin's node."},
      {FUNCTION(get_battery_therm), "tenths", zero, "Tells the battery's temperature in tenths of a degree."},
      {FUNCTION(get_batt_them), "degrees", zero, "Tells the battery's temperature in degrees."},
      {FUNCTION(get_charge_status), "enabled", zero, "Tells whether charging is enabled."},
      {FUNCTION(set_charge_status), "DIGIT", zero, "Enables charging (1), or disables it (0)."},
      {FUNCTION(get_charging_complete_status), "complete", zero, "Tells whether charging is complete."},
      {FUNCTION(set_charging_complete_status), "DIGIT", zero, "Sets whether charging is complete."},
      {FUNCTION(get_ibat_current), "current", zero, "Tells the battery's current."},
      {FUNCTION(get_ichg_current), "current", zero, "Tells the charger's current."},
      {FUNCTION(check_fuel_model), "model", zero, "Tells the fuel gauge's model, 0 for the power chip's own."},
      {FUNCTION(set_fuelguage_reset), "", zero, "Resets the fuel gauge.", kDestroys},
      {FUNCTION(get_fuelgauge_level), "percent", zero, "Tells the battery's level in percent."},
      {FUNCTION(get_battery_voltage), "volts", zero, "Tells the battery's voltage in volts."},
      {FUNCTION(get_tsens_count), "", any, "Counts the chip's temperature sensors."},
      {FUNCTION(get_tsens_temp), "NUMBER degrees", zero, "Tells the degrees of the thermal zone NUMBER + 2."},
      {FUNCTION(get_tsens_temp_rec), "SENSOR degrees", zero, "Tells a sensor's degrees; the first is 1."},
      {FUNCTION(do_tsens), "SENSOR OPERATION answer", zero, "Selects a sensor (1), tells it (2) or how many (3).",
       kInDaemon},
      {FUNCTION(get_xo_therm_temp), "- degrees:12#", zero, "Tells the crystal's degrees."},
      {FUNCTION(store_xo_therm), "TEXT", any, "Takes the crystal's degrees out of its node's text."},
      {FUNCTION(get_rtc_time), "time", zero, "Tells the real-time clock's time."},
      {FUNCTION(get_backcover_color), "colour", zero, "Tells the number of the back cover's colour."},
      {FUNCTION(get_pm_reset), "reason", zero, "Tells what reset the power chip."},

      {FUNCTION(set_diag_tty_block), "BLOCK", any, "Blocks the diagnostic tty, or unblocks it (0).", kInDaemon},
      {FUNCTION(diag_tty_blocked), "", any, "Tells whether the diagnostic tty is blocked: 1, else 0.", kInDaemon},
  };
}

}  // namespace atd
