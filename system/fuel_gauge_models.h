// The models of fuel gauges and their nodes.
#pragma once

namespace atd {

// How a model is reset.
enum class GaugeReset {
  none,               // it needs none
  by_read,            // reading its node resets it, and gives 1
  by_read_and_write,  // the same, and "reset" is written to the battery's node
  by_write,           // "reset" is written to its node
};

struct FuelGauge {
  int model;
  const char* name;  // in the log
  const char* node;  // a phone that has it has this model; also the node of its reset
  const char* voltage;
  const char* level;
  GaugeReset reset;
};

inline constexpr char kVoltageNode[] = "/proc/tav_power/battery/voltage_now";
inline constexpr char kLevelNode[] = "/proc/tav_power/battery/capacity";

// A voltage from here on is in microvolts, a lower one in millivolts.
inline constexpr int kFirstMicrovolt = 1000000;

// In the order in which they are looked for.
inline constexpr FuelGauge kFuelGauges[] = {
    {3, "FUELRST_MAX17050", "/sys/bus/i2c/drivers/max17050/1-0036/at_fuelrst",
     "/sys/bus/i2c/drivers/max17050/1-0036/at_batl", "/sys/bus/i2c/drivers/max17050/1-0036/at_fuelval",
     GaugeReset::by_read},
    {2, "FUELRST_MAX17048", "/sys/bus/i2c/devices/1-0036/fuelrst", "/sys/bus/i2c/devices/1-0036/voltage",
     "/sys/bus/i2c/devices/1-0036/capacity", GaugeReset::by_write},
    {1, "FUELRST_MAX17047", "/sys/bus/i2c/drivers/max17047/0-0036/at_fuelrst",
     "/sys/bus/i2c/drivers/max17047/0-0036/at_batl", "/sys/bus/i2c/drivers/max17047/0-0036/at_fuelval",
     GaugeReset::by_read},
    {5, "FUELRST_RT5058", "/sys/bus/i2c/drivers/rt5058/4-0034/rt5058-fuelgauge/at_fuelrst", kVoltageNode, kLevelNode,
     GaugeReset::by_read_and_write},
    {0, "FUELRST_FUEL_BMS", "/sys/class/power_supply/battery/present", kVoltageNode, kLevelNode, GaugeReset::none},
    {4, "FUELRST_BQ27421", "/sys/class/power_supply/bms/device/at_fuelrst",
     "/sys/class/power_supply/bms/device/at_batl", "/sys/class/power_supply/bms/device/at_fuelval",
     GaugeReset::by_read},
};

}  // namespace atd
