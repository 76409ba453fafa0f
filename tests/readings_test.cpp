// Readings of battery, converter and thermal zones, whatever the kernel's nodes say; and files as a whole.
#include "atd.h"
#include "simulator/control.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

const std::string kMany(5000, '7');
// "TEXT>READING|TEXT>READING": what nodes say, "@" for 5000 sevens, and what is read.
std::vector<std::pair<std::string, std::string>> rows_of(const std::string& table) {
  std::vector<std::pair<std::string, std::string>> rows;
  std::istringstream stream(table);
  for (std::string a, b; std::getline(stream, a, '>') && std::getline(stream, b, '|');)
    rows.emplace_back(a == "@" ? kMany : a, b);
  return rows;
}

class ReadingsTest : public Phone {
 protected:
  void put(const std::string& node, const std::string& text) { ASSERT_TRUE(sim::write_file(root_ + node, text)); }

  // "0:TEXT" or "1:TEXT", from a buffer of `size` bytes with guards around it.
  std::string read(int (*reading)(char*), size_t size) {
    std::string buffer(size + 16, '#');
    const int result = reading(&buffer[8]);
    EXPECT_EQ(std::string(16, '#'), buffer.substr(0, 8) + buffer.substr(size + 8));
    return std::to_string(result) + ":" + &buffer[8];
  }

  std::string tell(const std::string& line) {
    std::string out;
    sim::run_verb(device(), {words(line), true, ""}, [&](auto& reply) { return out += reply.out + reply.error, true; });
    return out;
  }
};

TEST_F(ReadingsTest, WhateverANodeSaysIsAReadingOrAFailure) {
  // clang-format off
  const std::string adc = "/proc/tav_power/adc/", supply = "/sys/class/power_supply/", power = "/proc/tav_power/";
  const std::string gauge = "/sys/bus/i2c/drivers/max17050/1-0036/", zone = "/sys/devices/virtual/thermal/thermal_zone";
  const std::tuple<int (*)(char*), size_t, std::string, std::string> rows[] = {
      {get_vcoin_adc, 12, adc + "vcoin", "Result:3012999 Raw:12\n>0:3012|Result:123>0:0|>0:0|A:1:2000 :9>0:2|"
                                         ":-999 R>0:0|:-1000 R>1:|: 45000 R>0:45|:99999999999 R>0:2147483"},
      {get_vphpwr_adc, 12, adc + "vph_pwr", ":4200000 Raw>0:4200|x y:1 >0:0"},
      {get_vbus_adc_value, 12, adc + "usb_in", ":5000123 R>0:5000123|:-1 R>1:|5>1:"},
      {get_pcb_rev_adc, 12, power + "platform/pcb_rev", ":900000 R>0:900|:-5000 R>0:-5|>0:0"},
      {get_battey_id, 128, adc + "batt_id", ":1 R\n>0::1 R\n|@>0:" + kMany.substr(0, 127)},
      {get_usbidadc_status, 128, adc + "usb_id", "a\nb\n>0:a\nb\n|>0:"},
      {get_usb_id_adc, 24, adc + "usb_id", ":450000 Raw:12\n>0:450000,56|:500000 R>0:500000,0|:490000 R>0:490000,56|"
                       ":100000 R>0:100000,0|:1630999 R>0:1630999,910|:1 >0:1,0|:-1 >1:|:1>1:|>1:"},
      {get_battery_therm, 11, power + "battery/temp", "250\n>0:250\n|-300\n>1:-300\n|-3000>0:-3000|@>0:7777777777|>0:"},
      {get_batt_them, 16, supply + "battery/temp", "315\n>0:31.5|-300>0:-30.0| 7 8>0:0.7|>0:0.0|@>0:214748364.7"},
      {get_charge_status, 11, supply + "ac/charging_enabled", "1\n>0:1\n|@>0:7777777777"},
      {get_ibat_current, 12, power + "charger/ibat_current", "-250\n>0:-250|@>0:2147483647"},
      {get_ichg_current, 12, power + "charger/ichg_current", "1 2>0:1|\n>0:0"},
      {get_fuelgauge_level, 11, gauge + "at_fuelval", "85\n>0:85\n"},
      {get_battery_voltage, 16, gauge + "at_batl", "4200>0:4.20|4200000>0:4.20|999999>0:1000.00|1000000>0:1.00|"},
      {[](char* out) { return get_tsens_temp(1, out); }, 16, zone + "3/temp", "423\n>0:42.3|-5>0:-0.5"},
      {[](char* out) { return get_tsens_temp_rec(2, out); }, 16, zone + "3/temp", "450>0:45.0|100>0:100.0|101>0:10.1"},
      {[](char* out) { int length; return get_tav_hw_version(out, &length); }, 6, "/proc/cmdline",
       "a tav.rev=rev_10 b>0:1.0|tav.rev=evb2\n>0:2|board_rev=rev_c>0:0.c|tav.rev=ab>0:0.|tav.rev=rev_b123 >0:0.b12|"
       "board_rev=rev_a tav.rev=reserved>1:|tav.rev=rev_1>0:1.|tav.rev=evb>0:|tav.rev=evb21>0:1.|tav.rev=>1:|tav.rev= x>1:|x>1:|@>1:"},
      {[](char* out) { int length; return get_xo_therm_temp("", out, &length); }, 12, adc + "xo_therm",
       "Result:315 Raw:99\n>0:31|a:7 >0:7|a:>0:0|31>0:0"},
      {get_backcover_color, 12, "/sys/class/switch/backcover/state", "2\n>0:2|>0:0"},
      {get_pm_reset, 128, "/sys/bus/i2c/devices/1-002d/at_pmrst", "1\n>0:1\n|@>0:" + kMany.substr(0, 126) + "\n"}};
  // clang-format on
  for (const auto& [reading, size, node, texts] : rows) {
    for (const auto& [text, expected] : rows_of(texts)) {
      put(node, text);
      EXPECT_EQ(expected, read(reading, size)) << node << " " << text.substr(0, 30);
    }
    device().faults.fail("unified_sysfs_read " + node, 1);
    EXPECT_EQ("1:", read(reading, size)) << node;
  }
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "get_vcoin_adc:fail to fopen [/sys/class/hwmon/hwmon0/device/vcoin] rt=-5"));
}

TEST_F(ReadingsTest, EachFuelGaugeHasItsNodesAndItsReset) {
  for (const auto& [number, told] :
       rows_of("3>max17050|2>max17048 w|1>max17047|-1>none w|5>rt5058 w|4>bq27421|0>bms")) {
    const std::string name = words(told)[0];
    EXPECT_EQ("", tell("fuel-gauge " + name) + tell("battery level 40") + tell("battery voltage 3.85")) << name;
    int model = 7;
    EXPECT_TRUE(check_fuel_model(&model) == (number == "-1") && number == std::to_string(model)) << name;
    EXPECT_EQ(number == "-1" ? "1:" : "0:3.85", read(get_battery_voltage, 16)) << name;
    EXPECT_EQ("0:40\n", read(get_fuelgauge_level, 11)) << name;
    EXPECT_EQ(0, set_fuelguage_reset()) << name;
    device().faults.fail(told == name ? "unified_sysfs_read" : "unified_sysfs_write", 1);
    EXPECT_EQ(number != "0", set_fuelguage_reset()) << name;
  }
  EXPECT_TRUE(has(tell("battery"), R"("level":40,"temperature":25.0,"voltage":3.85,"charging":"off","cable":)"));
}

TEST_F(ReadingsTest, SensorsChargerClockAndCables) {
  EXPECT_TRUE(tell("thermal 3 45.0") == "" && has(tell("thermal 9 45"), "there is no zone 9") &&
              has(tell("thermal"), R"(sensor1","degrees":45.0)"));
  EXPECT_EQ("1:", read([](char* none) { return get_tsens_temp_rec(get_tsens_count() + 1, none); }, 16));
  char out[30] = "-";
  EXPECT_TRUE(!do_tsens(5, 1, out) && do_tsens(8, 1, out) && !do_tsens(7, 3, out) && out == "7"s);
  EXPECT_TRUE(!do_tsens(7, 2, out) && out == "5"s);
  unsigned char complete = 9;
  EXPECT_EQ(0, set_charge_status('1') + set_charge_status('2') + set_charging_complete_status('1'));
  EXPECT_TRUE(read(get_charge_status, 11) == "0:1" && !get_charging_complete_status(&complete) && complete);
  struct timespec now;
  device().clock.get(CLOCK_REALTIME, &now);
  strftime(out, sizeof out, "0:%Y%m%d%H%M%S", gmtime(&now.tv_sec));
  EXPECT_EQ(out, read(get_rtc_time, 30));
  device().faults.fail("ioctl", 1);
  EXPECT_EQ("1:", read(get_rtc_time, 30));
  device().properties.set_at_boot("ro.product.name", "k4n_bqr_xyz");
  for (const auto& [line, bound] : rows_of("tav.rev=rev_10>950|tav.rev=rev_b1>0|tav.rev=rev_b_1>950|x>0")) {
    int32_t table[3][3] = {};
    put("/proc/cmdline", line);
    check_cable_tbl_exception(table);
    EXPECT_EQ(bound, std::to_string(table[2][1])) << line;
  }
  put("/proc/cmdline", "tav.rev=rev_b1");
  for (const auto& [name, seen] : rows_of("56k>,56 1 3|130k>,130 2 3|910k>,910 3 3|usb>,0 0 3|none>,0 0 1")) {
    EXPECT_EQ("", tell("cable " + name));
    EXPECT_TRUE((read(get_usb_id_adc, 24) + " " + std::to_string(system_get_cable_type()) + " " +
                 std::to_string(get_usbstate_from_sys()))
                    .ends_with(seen))
        << name;
  }
  put("/proc/cmdline", "tav.rev=rev_b_1");
  put("/proc/tav_power/adc/usb_id", "Result:900000 Raw:1");
  EXPECT_EQ("0:900000,910", read(get_usb_id_adc, 24));
  EXPECT_EQ(950, std::exchange(cable[2][1], 1630));
  const int32_t usual[3][3] = {{100, 490, 56}, {610, 780, 130}, {1350, 1630, 910}};
  memcpy(cable, usual, sizeof cable);
}

TEST_F(ReadingsTest, FilesAsAWhole) {
  char text[4097];
  constexpr char kFile[] = "/data/eri/file";
  EXPECT_EQ(-4, check_sysfs(kFile) + read_sysfs(kFile, text, 3) + read_sysfs(kFile, text) + write_sysfs(kFile, "", 0));
  EXPECT_EQ(2, logged(ANDROID_LOG_ERROR, "read_sysfs: Open Error(No such file or directory): /data/eri/file"));
  EXPECT_EQ(0, write_eri_sysfs(kFile, "/data/eri", "abc", 3));
  EXPECT_EQ(std::filesystem::perms(0755), std::filesystem::status(root_ + kFile).permissions());
  EXPECT_EQ(5, read_sysfs(kFile, text, 5));  // what was asked for
  EXPECT_EQ("abc\0\0"s, std::string(text, 5));
  EXPECT_TRUE(!check_sysfs(kFile) && !write_sysfs(kFile, "z", 1) && read_sysfs(kFile, text) == 1 && text == "z"s);
  put(kFile, kMany);
  EXPECT_EQ(4096, read_sysfs(kFile, text));
}

}  // namespace
}  // namespace atd
