#include "daemon/calls.h"

#include <limits.h>
#include <string.h>

#include <memory>
#include <sstream>
#include <tuple>
#include <type_traits>

#include "atd.h"
#include "desk/words.h"

namespace atd {

namespace {

using sim::HostFunction;
using sim::HostOutcome;

// More than any function writes into a text.
constexpr size_t kOutSize = 64 * 1024;

// What a function's result says.
enum class Success {
  zero,   // 0 is success
  one,    // 1 is success
  value,  // a value, negative for a failure
  size,   // a size, 0 for a failure
  any,    // a value, never a failure
};

bool is_failure(Success success, long long result) {
  switch (success) {
    case Success::zero: return result != 0;
    case Success::one: return result != 1;
    case Success::value: return result < 0;
    case Success::size: return result == 0;
    case Success::any: return false;
  }
  return false;
}

// The words that were given, taken one by one.
struct Words {
  const std::vector<std::string>& words;
  size_t next = 0;

  const std::string& take() { return words.at(next++); }
};

// One argument of a function: taken from the words, or filled by the function and told afterwards.
template <typename T>
struct Argument;

template <>
struct Argument<const char*> {
  explicit Argument(Words& words) : text(words.take()) {}
  const char* get() { return text.c_str(); }
  void tell(std::string*) {}
  std::string text;
};

template <int lowest>
struct Number {
  explicit Number(Words& words) {
    const std::string& word = words.take();
    if (read_number(word, lowest, INT_MAX, &number)) return;
    throw sim::BadArgument{"\"" + word + "\" is not a number from " + std::to_string(lowest) + " to " +
                           std::to_string(INT_MAX)};
  }
  int get() { return number; }
  void tell(std::string*) {}
  int number = 0;
};

template <>
struct Argument<int> : Number<INT_MIN> {
  using Number::Number;
};

template <>
struct Argument<unsigned> : Number<0> {
  using Number::Number;
};

template <>
struct Argument<char> {
  explicit Argument(Words& words) {
    const std::string& word = words.take();
    if (word.size() != 1) throw sim::BadArgument{"\"" + word + "\" is not one character"};
    character = word[0];
  }
  char get() { return character; }
  void tell(std::string*) {}
  char character;
};

template <>
struct Argument<unsigned char*> {
  explicit Argument(Words&) {}
  unsigned char* get() { return &number; }
  void tell(std::string* out) { *out += std::to_string(number); }
  unsigned char number = 0;
};

template <>
struct Argument<char*> {
  explicit Argument(Words&) : text(new char[kOutSize]()) {}
  char* get() { return text.get(); }
  void tell(std::string* out) { out->append(text.get(), strnlen(text.get(), kOutSize)); }
  std::unique_ptr<char[]> text;
};

// A length; the text before it shows it already.
template <>
struct Argument<int*> {
  explicit Argument(Words&) {}
  int* get() { return &number; }
  void tell(std::string*) {}
  int number = 0;
};

template <>
struct Argument<unsigned*> {
  explicit Argument(Words&) {}
  unsigned* get() { return &number; }
  void tell(std::string* out) { *out += std::to_string(number); }
  unsigned number = 0;
};

template <>
struct Argument<FpTestResult*> {
  explicit Argument(Words&) {}
  FpTestResult* get() { return &found; }
  void tell(std::string* out) {
    *out += "isPass " + std::to_string(found.isPass) + ", result " + std::to_string(found.result);
  }
  FpTestResult found = {};
};

// A row: the words that the function takes, the function, and what it does.
template <typename R, typename... A>
HostFunction row(const char* name, R (*function)(A...), const char* arguments, const char* summary,
                 Success success = Success::zero) {
  const auto run = [=](const std::vector<std::string>& given) {
    [[maybe_unused]] Words words{given};
    std::tuple<Argument<A>...> holders{Argument<A>(words)...};
    HostOutcome outcome;
    std::apply(
        [&](auto&... holder) {
          if constexpr (std::is_void_v<R>) function(holder.get()...);
          else outcome.result = static_cast<long long>(function(holder.get()...));
          (holder.tell(&outcome.out), ...);
        },
        holders);
    outcome.failed = is_failure(success, outcome.result);
    return outcome;
  };
  return {name, arguments, summary, run};
}

// Each makes a ScreenCapture of its own.
int capture(int left, int top, int width, int height, int bits) {
  return ScreenCapture().captureScreen(left, top, width, height, bits);
}

int reduce(int threshold) {
  ScreenCapture screen;
  screen.captureScreen();
  return screen.convertToBW(threshold);
}

int save(int png, const char* path) { return ScreenCapture().saveScreenToFile(png, path); }

// These two take texts that they may change.
void copy_log_from(const char* destination, const char* source) {
  copy_log(std::string(destination).data(), std::string(source).data());
}

int make_zip(const char* archive, const char* folder) {
  return logsave_makezip(std::string(archive).data(), std::string(folder).data());
}

// The digits as one word: each is a parameter of its own.
int assign_address(const char* digits, char* out) {
  std::vector<std::string> words;
  for (; *digits; ++digits) words.emplace_back(1, *digits);
  std::vector<const char*> params;
  for (const std::string& word : words) params.push_back(word.c_str());
  return handle_atcmd_btad_assign(params.data(), static_cast<int>(params.size()), out);
}

#define FUNCTION(name, ...) row(#name, name, __VA_ARGS__)

}  // namespace

std::vector<HostFunction> library_functions() {
  return {
      FUNCTION(read_aatset, "", "Reads the set of the automatic test."),
      FUNCTION(write_aatset, "SET", "Stores a set."),
      FUNCTION(read_aatorder, "", "Reads the order of the automatic test."),
      FUNCTION(write_aatorder, "ORDER", "Stores an order and puts the set into it."),
      FUNCTION(aat_full, "", "Stores the full set in the stored order."),
      FUNCTION(get_devicetest_result, "", "Tells the verdict of the device test.", Success::value),
      FUNCTION(set_devicetest_result_init, "", "Clears the results of the device test."),
      FUNCTION(aat_subdivided_result_write, "TEST RESULT", "Writes the result of one test into the misc partition."),
      FUNCTION(midauto_sdcheck, "", "Starts the MID test tool from the SD card, after 20 seconds."),
      FUNCTION(write_recondition_status, "STATUS", "Writes the recondition status."),
      FUNCTION(rubberstamp_test, "", "Tests the fingerprint sensor with a rubber stamp."),
      FUNCTION(get_touch_version, "", "Reads the touch firmware's version."),

      FUNCTION(handle_atcmd_btad_query, "", "Tells the Bluetooth address."),
      FUNCTION(handle_testmode_bt_read_request, "", "The same."),
      FUNCTION(handle_atcmd_btad_range, "", "Tells how to write an address."),
      row("handle_atcmd_btad_assign", assign_address, "DIGITS", "Stores the Bluetooth address."),
      FUNCTION(handle_testmode_bt_write_request, "DIGITS", "Stores the Bluetooth address and has it loaded."),
      FUNCTION(handle_bt_test_mode_query, "", "Tells whether Bluetooth is in its test mode: 2, else 1."),
      FUNCTION(handle_testmode_bt_test_mode_query, "", "Tells it in the result: 0, else 1.", Success::any),
      FUNCTION(handle_bt_test_mode_assign, "DIGITS", "Enters (2) or leaves (3) the test mode; the units come first."),
      FUNCTION(handle_testmode_bt_test_mode_assign, "CODE", "Enters (1, 11 to 42) or leaves (5) the test mode."),
      FUNCTION(enter_bt_test_mode, "VALUE", "Enters (2, 11 to 42) or leaves (3) the test mode."),
      FUNCTION(handle_testmode_btle_test_enable, "", "Switches the tests of Low Energy on."),
      FUNCTION(handle_testmode_btle_test_disable, "", "Switches them off."),
      FUNCTION(handle_testmode_btle_tx_test_start, "CODE", "Starts to send on channel CODE - 41."),
      FUNCTION(handle_testmode_btle_tx_test_end, "", "Ends that."),
      FUNCTION(handle_testmode_btle_rx_test_start, "CHANNEL", "Starts to receive on a channel."),
      FUNCTION(handle_testmode_btle_rx_test_end, "", "Ends that and tells how many packets came."),

      FUNCTION(read_uuid, "", "Reads the SD card's volume id."),
      FUNCTION(get_sdcard_path, "", "Tests the SD card and tells its folder."),
      FUNCTION(IsSDCardInserted, "", "Tells whether there is an SD card."),
      FUNCTION(GetSDCardMountStatus, "", "Tells whether the SD card is mounted."),
      FUNCTION(SetSDCardMount, "", "Mounts the SD card."),
      FUNCTION(SetSDCardUnMount, "", "Unmounts the SD card."),
      FUNCTION(mmc_emt, "", "Tests the SD card by writing and reading."),
      FUNCTION(mmc_sdcheck, "", "Writes, reads and removes a file on the SD card."),
      FUNCTION(mmc_dummysdcheck, "", "Tells whether the slot reports a card that is not there: 0 then, else 1."),
      FUNCTION(mmc_mmctotalsize, "", "Tells the SD card's size in KiB."),
      FUNCTION(mmc_mmcusedsize, "", "Tells the bytes that files take on the SD card."),
      FUNCTION(mmc_mmccheckcontents, "", "Checks that the SD card has its default contents alone."),
      FUNCTION(mmc_mmcfactoryformat, "", "Deletes all but the default contents from the SD card."),
      FUNCTION(mmc_mmcformat, "", "Formats the SD card."),
      FUNCTION(mmc_storage_isufs, "", "Tells whether the internal storage is UFS: 1, else 0.", Success::any),
      FUNCTION(mmc_emmccapacity, "", "Tells the size of the internal eMMC in MiB."),
      FUNCTION(mmc_ufscapacity, "", "Tells the size of the internal UFS in MiB."),
      FUNCTION(recursive_dir_check, "PATH", "Tells the bytes of a file, or of all files below a folder.",
               Success::value),
      FUNCTION(get_fs_size, "DEVICE", "Tells the size of the file system on a block device, 0 for none.", Success::any),
      FUNCTION(ram_memory_size, "", "Tells the size of the RAM in MiB.", Success::any),
      FUNCTION(do_scsi_command_read, "FIELD", "Logs the UFS device's \"vendor\" or firmware \"level\"."),

      FUNCTION(get_battery_therm, "", "Tells the battery's temperature in tenths of a degree."),
      FUNCTION(get_batt_them, "", "Tells the battery's temperature in degrees."),
      FUNCTION(get_battery_voltage, "", "Tells the battery's voltage in volts."),
      FUNCTION(get_fuelgauge_level, "", "Tells the battery's level in percent."),
      FUNCTION(set_fuelguage_reset, "", "Resets the fuel gauge."),
      FUNCTION(get_charge_status, "", "Tells whether charging is enabled."),
      FUNCTION(set_charge_status, "DIGIT", "Enables charging (1), or disables it (0)."),
      FUNCTION(get_charging_complete_status, "", "Tells whether charging is complete."),
      FUNCTION(set_charging_complete_status, "DIGIT", "Sets whether charging is complete."),
      FUNCTION(get_ibat_current, "", "Tells the battery's current."),
      FUNCTION(get_ichg_current, "", "Tells the charger's current."),
      FUNCTION(get_vcoin_adc, "", "Tells the coin cell's voltage in millivolts."),
      FUNCTION(get_vphpwr_adc, "", "Tells the system's voltage in millivolts."),
      FUNCTION(get_vbus_adc_value, "", "Tells the USB input's voltage in microvolts."),
      FUNCTION(get_pcb_rev_adc, "", "Tells the millivolts of the board revision's divider."),
      FUNCTION(get_battey_id, "", "Tells the reading of the battery's ID."),
      FUNCTION(get_usb_id_adc, "", "Tells the microvolts at the USB ID pin, and the factory cable."),
      FUNCTION(get_usbidadc_status, "", "Tells the text of the USB ID pin's node."),
      FUNCTION(get_tsens_temp, "NUMBER", "Tells the degrees of the thermal zone NUMBER + 2."),
      FUNCTION(do_tsens, "SENSOR OPERATION",
               "Selects a sensor (1), tells the selected one (2) or how many there are (3)."),
      FUNCTION(get_tsens_count, "", "Counts the chip's temperature sensors.", Success::any),
      FUNCTION(get_tsens_temp_rec, "SENSOR", "Tells a sensor's degrees; the first is 1."),
      FUNCTION(get_rtc_time, "", "Tells the real-time clock's time."),
      FUNCTION(get_backcover_color, "", "Tells the number of the back cover's colour."),
      FUNCTION(get_pm_reset, "", "Tells what reset the power chip."),

      FUNCTION(system_restart, "", "Restarts the phone."),
      FUNCTION(system_poweroff, "", "Switches the phone off."),
      FUNCTION(system_efs_sync, "", "Writes the modem's file system out."),
      FUNCTION(system_sleep, "", "Puts the phone to sleep."),
      FUNCTION(system_wakeup, "", "Wakes the phone."),
      FUNCTION(get_sleep_mode, "", "Tells whether the screen is dark: 1, else 0.", Success::any),
      FUNCTION(power_off_with_cable, "", "Switches the phone off once the factory cable is pulled."),
      FUNCTION(retry_power_off_with_cable, "", "Goes on with such a power-off after a restart of the daemon."),
      FUNCTION(normal_mode_check, "", "Tells whether the boot is a factory or other special one: 1, else 0.",
               Success::any),
      FUNCTION(system_get_factory_mode, "", "Tells the factory boot mode, 0 to 2.", Success::any),
      FUNCTION(system_get_cable_type, "", "Tells the factory cable, 1 to 3, or 0.", Success::value),
      FUNCTION(system_get_battery_status, "", "Tells whether there is a battery: 1, else 0.", Success::any),
      FUNCTION(system_set_lcd_brightness, "", "Sets the minimum brightness where a cable alone feeds the phone."),
      FUNCTION(system_set_lcd_brightness_loop, "", "Keeps the brightness at its minimum there for 16 seconds."),
      FUNCTION(system_set_caldata_check_prop, "", "Copies the modem's check of its calibration data to a property."),
      FUNCTION(system_osupgrade_notify, "", "Tells the platform of an upgrade of the system."),
      FUNCTION(get_low_batt_port_block_check, "", "Tells whether ports are to be blocked: 1, else 0.", Success::any),
      FUNCTION(get_cpu_freq, "", "Tells the clocks of the processor."),
      FUNCTION(set_cpu_performance, "MODE", "Makes the processor fast, or slow (0)."),
      FUNCTION(get_tav_factory_sw_version, "TYPE", "Tells the factory software version."),
      FUNCTION(get_tav_factory_sw_fixed_area_version, "", "Tells the version of the fixed software area."),
      FUNCTION(get_tav_hw_version, "", "Tells the hardware version."),
      FUNCTION(get_tav_android_sw_version, "", "Tells the Android version."),
      FUNCTION(get_tav_bynary_revision, "", "Tells the binary revision."),
      FUNCTION(system_get_model_name, "", "Tells the model's name."),
      FUNCTION(system_get_build_date, "", "Tells the build date."),
      FUNCTION(system_write_version_info, "", "Copies the software version to its factory items."),
      FUNCTION(nv_factoryitem_sync, "", "Copies the versions to the modem's numbered items."),
      FUNCTION(system_update_settings_from_cust, "", "Copies the fixed area's version to its factory item."),
      FUNCTION(get_phone_number, "", "Asks the platform for the phone number."),
      FUNCTION(system_set_env_property, "", "Sets the properties of the boot mode."),

      FUNCTION(get_usbstate_from_sys, "",
               "Tells what is at the USB port: 1 nothing, 2 a host, 3 one that has configured it.", Success::any),
      FUNCTION(usb_path_change, "", "Takes the USB port to the composition factory,adb."),
      FUNCTION(usb_mode_change_user, "", "Opens the USB lock and asks for the composition factory,adb."),
      FUNCTION(usb_mode_change_factory, "", "Asks for the composition factory and closes the USB lock."),
      FUNCTION(usb_mode_change_cpdm, "", "Opens the USB lock and asks for the composition qmicm,adb."),
      FUNCTION(get_usb_lock, "", "Tells the USB lock.", Success::value),
      FUNCTION(set_usb_lock, "DIGIT", "Sets the USB lock."),
      FUNCTION(flight_set_mode_to_modem, "MODE", "Switches the modem's flight mode on (1) or off."),
      FUNCTION(flight_mode_get_status, "", "Asks the platform for its flight mode."),
      FUNCTION(flight_set_mode, "TEXT", "Sets the platform's flight mode."),
      FUNCTION(get_flight_status, "", "Tells the modem's flight mode.", Success::any),
      FUNCTION(set_tav_test_script_item, "", "Switches the modem's test script on."),
      FUNCTION(get_tav_test_script_mode, "", "Tells the test script's mode."),
      FUNCTION(set_tav_test_script_cal_data, "KIND", "Backs up (0), restores (1) or resets (2) the calibration data."),
      FUNCTION(tav_wcdma_maxpower_on, "", "Switches WCDMA to its maximum power."),
      FUNCTION(tav_wcdma_maxpower_off, "", "Switches WCDMA back."),
      FUNCTION(tav_cal_check_read, "", "Tells the calibration data."),
      FUNCTION(tav_vco_self_tunning_write, "", "Runs the VCO's self-tuning."),
      FUNCTION(tav_vco_self_tunning_read, "", "Tells the outcome of the VCO's self-tuning."),
      FUNCTION(tav_check_modem_cmd_ready, "", "Tells whether the modem takes commands: 0, else 1."),
      FUNCTION(tav_cal_data_check, "", "Tells what the modem's check of its calibration data found."),
      FUNCTION(rf_device_check, "", "Has the modem check the RF devices."),
      FUNCTION(tav_check_modem, "", "Tells whether the modem has booted: 0, else 1."),
      FUNCTION(tav_reset_modem, "", "Restarts the modem."),

      row("captureScreen", capture, "LEFT TOP WIDTH HEIGHT BITS", "Tells the bytes of a rectangle of the screen.",
          Success::size),
      row("convertToBW", reduce, "THRESHOLD", "Tells the bytes of a bitmap of the screen.", Success::size),
      row("saveScreenToFile", save, "PNG PATH", "Writes what is on the screen into a file: raw with 0, else PNG."),
      FUNCTION(makedir, "PATH", "Makes a folder and those above it: 1, or 0 when it cannot.", Success::one),
      FUNCTION(crc_command, "TYPE", "Runs the CRC command of this number, 0 to 8."),
      FUNCTION(crcwizard_command, "TYPE", "Runs the CRC wizard's command 0: dumps, and the CRC of the files."),
      FUNCTION(code_crc, "", "Tells the CRC of the software partitions.", Success::one),
      FUNCTION(nv_crc, "", "Tells the CRC of the modem's numbered items.", Success::one),
      FUNCTION(nv_dump, "", "Writes it to data/nvdump.", Success::one),
      FUNCTION(nv_copy, "", "Copies that to the SD card.", Success::one),
      FUNCTION(db_crc, "", "Asks the platform for the CRC of its databases.", Success::one),
      FUNCTION(fpri_crc, "", "Asks the platform for the CRC of the FPRI.", Success::one),
      FUNCTION(db_copy, "", "Has the platform copy its databases.", Success::one),
      FUNCTION(db_dump, "", "Has the platform dump its databases, and writes the list of the files.", Success::one),
      FUNCTION(crcwizard_file_dump, "", "Writes the list of the files alone.", Success::one),
      FUNCTION(phone_status_dump, "", "Writes data/dbdump/phone_status.txt.", Success::one),
      FUNCTION(crcwizard_phone_status_dump, "", "The same, with the SIM count as a digit.", Success::one),
      FUNCTION(get_pid_crc, "", "Tells the CRC of the product ID."),
      FUNCTION(atox, "TEXT", "Reads a hexadecimal number.", Success::any),

      FUNCTION(hidden_factoryreset, "", "Resets the phone to its factory state, which wipes it and reboots it."),
      FUNCTION(hidden_factoryreset_sdcard, "", "The same, with the SD card erased first."),
      FUNCTION(hidden_factoryreset_sdcard_power_off, "",
               "The same by the deletion service, and switches the phone off."),
      FUNCTION(factoryreset_crst, "", "Resets the phone and its SD card on a thread."),
      FUNCTION(sfactoryreset, "", "Goes on with the factory reset from the present factory status."),
      FUNCTION(frst_rzcp_modem_backup, "", "Has the modem make a backup of its data."),
      FUNCTION(factory_reset_callduration_erase, "", "Removes the records of call durations."),
      FUNCTION(erase_external_sdcard, "", "Brings the SD card to its default contents, or formats it."),
      FUNCTION(factory_delete, "", "Has the deletion service empty /data."),
      FUNCTION(dir_count, "PATH", "Counts what is below a folder.", Success::any),
      FUNCTION(erase_partition, "", "Erases the cache partition."),
      FUNCTION(xboot_data_init, "", "Erases the cache partition and restarts, where a factory reset asks for it."),
      FUNCTION(tav_reset_production, "KIND", "Has the modem carry out a production reset."),

      FUNCTION(set_directory_name, "", "Tells the name of a log save made now."),
      FUNCTION(get_external_logsave_path, "", "Tests the SD card and tells its folder for log saves."),
      FUNCTION(logsave, "TARGET", "Collects the logs in a folder below the target."),
      row("copy_log", copy_log_from, "DESTINATION SOURCE", "Copies a folder of logs line by line."),
      row("logsave_makezip", make_zip, "ARCHIVE FOLDER", "Packs a folder into an archive."),
      FUNCTION(logsave_erase, "", "Erases the logs and the internal saves."),
      FUNCTION(Delete_Folder, "PATH", "Removes a folder with its files and folders."),
      FUNCTION(scan_auto_touch_result, "", "Tells the next piece of the touch test's result."),
      FUNCTION(logsave_aat_touch, "", "The same."),
      FUNCTION(check_transfer_status, "", "Tells whether there are more pieces: 1, else 0.", Success::any),
      FUNCTION(get_crash_count, "", "Tells the number of crashes."),
      FUNCTION(erase_crash_count, "", "Sets the number of crashes to 0."),
      FUNCTION(crash_log_save, "COUNT", "Saves that many records of crashes and tells their second lines."),
      FUNCTION(cap_screen, "", "Takes a picture of the screen for the MTS log service."),
      FUNCTION(copy_file, "SOURCE DESTINATION", "Copies a file."),
      FUNCTION(copy_dir, "SOURCE DESTINATION", "Copies a folder."),
      FUNCTION(set_dest_path, "SOURCE", "Tells where a copy for the MTS log service lies."),
      FUNCTION(clear_dest, "PATH", "Removes a file or a folder."),
      FUNCTION(copy_latest, "SOURCE", "Copies a file or a folder for the MTS log service."),
      FUNCTION(copy_to_mtslog, "", "Copies what crashes have left for the MTS log service."),
      FUNCTION(mts_log_makezip, "NAME KIND", "Makes these copies and has the platform pack the MTS logs."),
      FUNCTION(mts_log_erase, "", "Removes the MTS logs and their archive."),
      FUNCTION(mts_log_on, "", "Tells whether the MTS log service is active."),
      FUNCTION(mts_log_off, "", "The same."),
      FUNCTION(mts_get_status, "", "Tells whether the MTS log service is idle or working: 0, else 2."),
  };
}

}  // namespace atd
