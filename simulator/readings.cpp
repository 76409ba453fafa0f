#include "simulator/readings.h"

#include <android/log.h>
#include <errno.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <iterator>

#include "simulator/files.h"
#include "system/fuel_gauge_models.h"

namespace atd::sim {

namespace {

constexpr char kBattery[] = "/proc/tav_power/battery/";
constexpr char kAdc[] = "/proc/tav_power/adc/";
constexpr char kUsbId[] = "/proc/tav_power/adc/usb_id";
constexpr char kUsbIn[] = "/proc/tav_power/adc/usb_in";
constexpr char kUsbPort[] = "/sys/class/android_usb/android0/state";
constexpr char kEnabled[] = "/sys/class/power_supply/ac/charging_enabled";
constexpr char kComplete[] = "/sys/class/power_supply/ac/charging_complete";
constexpr char kUsbMode[] = "/sys/devices/platform/tav_android_usb/tav_usb_mode";
constexpr char kZone[] = "/sys/devices/virtual/thermal/thermal_zone";

// The types of the thermal zones, in their order: first two that are no sensors of the chip.
constexpr const char* kZoneTypes[] = {"case_therm0",      "pa_therm0",        "tsens_tz_sensor0",
                                      "tsens_tz_sensor1", "tsens_tz_sensor2", "tsens_tz_sensor3",
                                      "tsens_tz_sensor4", "tsens_tz_sensor5", "tsens_tz_sensor6"};

// What a cable does to the ID pin and the input, in microvolts, and to the port. An open pin is above every factory
// cable's range.
struct Cable {
  const char* name;
  int usb_id;
  int usb_in;
  const char* mode;
  const char* port;
};
constexpr Cable kCables[] = {
    {"none", 1800000, 0, "normal", "DISCONNECTED"},           {"usb", 1800000, 5000000, "normal", "CONFIGURED"},
    {"56k", 350000, 5000000, "factory_56k", "CONFIGURED"},    {"130k", 640000, 5000000, "factory_130k", "CONFIGURED"},
    {"910k", 1490000, 5000000, "factory_910k", "CONFIGURED"},
};

// "max17050" of "FUELRST_MAX17050".
std::string name_of(const FuelGauge& gauge) {
  std::string name = gauge.name;
  name.erase(0, name.rfind('_') + 1);
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
  return name;
}

// A text of the converter; the raw count is of no consequence.
std::string converted(int microvolts) {
  return "Result:" + std::to_string(microvolts) + " Raw:" + std::to_string(microvolts / 100);
}

}  // namespace

bool Readings::has(const std::string& node) const { return access(resolve(root_, node).c_str(), F_OK) == 0; }

std::string Readings::text(const std::string& node) const {
  std::string text;
  read_file(resolve(root_, node), &text);
  return text.substr(0, text.find_last_not_of('\n') + 1);
}

std::optional<long long> Readings::number(const std::string& node) const {
  std::string text = this->text(node);
  if (text.starts_with("Result:")) text.erase(0, 7);
  char* end;
  const long long value = strtoll(text.c_str(), &end, 10);
  return end == text.c_str() ? std::nullopt : std::optional(value);
}

bool Readings::write(const std::string& node, const std::string& text) {
  const std::string path = resolve(root_, node);
  return !path.empty() && make_folders(path.substr(0, path.rfind('/'))) && write_file(path, text + "\n");
}

bool Readings::make() {
  // What somebody has put there before the phone's first start stays.
  const auto is_missing = [this](const std::string& node) { return !has(node); };
  bool made = true;
  if (is_missing(std::string(kBattery) + "temp")) made = set_temperature(250);
  if (is_missing(kVoltageNode)) made = made && set_voltage(4200);
  if (is_missing(kLevelNode)) made = made && set_level(85);
  if (gauge() == "none") made = made && set_gauge("max17050");
  if (is_missing(kUsbId)) made = made && set_cable("usb");
  if (is_missing(kEnabled)) made = made && set_charging(false, false);
  for (size_t zone = 0; zone < std::size(kZoneTypes); ++zone) {
    const std::string folder = kZone + std::to_string(zone);
    if (!is_missing(folder + "/type")) continue;
    made = made && write(folder + "/type", kZoneTypes[zone]) && set_zone(static_cast<int>(zone), 350);
  }
  return made;
}

std::optional<long long> Readings::millivolts() const {
  const std::optional<long long> value = number(kVoltageNode);
  return value && *value >= kFirstMicrovolt ? *value / 1000 : value;
}

bool Readings::set_temperature(int tenths) {
  const std::string text = std::to_string(tenths);
  return write(std::string(kBattery) + "temp", text) && write("/sys/class/power_supply/battery/temp", text);
}

bool Readings::set_voltage(int millivolts) {
  return write(kVoltageNode, std::to_string(millivolts * 1000)) &&
         write(std::string(kAdc) + "vph_pwr", converted(millivolts * 1000)) && write_gauge();
}

bool Readings::set_level(int percent) { return write(kLevelNode, std::to_string(percent)) && write_gauge(); }

bool Readings::set_charging(bool on, bool complete) {
  return write(kEnabled, on ? "1" : "0") && write(kComplete, complete ? "1" : "0") && write_currents();
}

// What the charger gives, and what the battery takes or, less than 0, gives.
bool Readings::write_currents() {
  const bool charges = number(kEnabled) == 1 && number(kComplete) != 1 && number(kUsbIn).value_or(0) > 0;
  return write("/proc/tav_power/charger/ichg_current", charges ? "1000" : "0") &&
         write("/proc/tav_power/charger/ibat_current", charges ? "750" : "-250");
}

bool Readings::set_zone(int zone, int tenths) {
  const std::string folder = kZone + std::to_string(zone);
  if (!has(folder + "/type")) return errno = ENOENT, false;
  return write(folder + "/temp", std::to_string(tenths));
}

std::vector<std::string> Readings::cables() {
  std::vector<std::string> names;
  for (const Cable& cable : kCables) names.push_back(cable.name);
  return names;
}

bool Readings::set_cable(const std::string& name) {
  for (const Cable& cable : kCables) {
    if (name != cable.name) continue;
    return write(kUsbId, converted(cable.usb_id)) && write(kUsbIn, converted(cable.usb_in)) &&
           write(kUsbMode, cable.mode) && write(kUsbPort, cable.port) && write_currents();
  }
  return errno = EINVAL, false;
}

std::string Readings::cable() const {
  for (const Cable& cable : kCables) {
    if (number(kUsbId) == cable.usb_id && number(kUsbIn) == cable.usb_in) return cable.name;
  }
  return "?";
}

std::vector<std::string> Readings::gauges() {
  std::vector<std::string> names;
  for (const FuelGauge& gauge : kFuelGauges) names.push_back(name_of(gauge));
  names.push_back("none");
  return names;
}

bool Readings::set_gauge(const std::string& name) {
  for (const FuelGauge& gauge : kFuelGauges) {
    unlink(resolve(root_, gauge.node, Last::itself).c_str());
    for (const char* node : {gauge.voltage, gauge.level}) {
      if (node != kVoltageNode && node != kLevelNode) unlink(resolve(root_, node, Last::itself).c_str());
    }
  }
  for (const FuelGauge& gauge : kFuelGauges) {
    if (name_of(gauge) == name) return write(gauge.node, "1") && write_gauge();
  }
  return true;
}

std::string Readings::gauge() const {
  for (const FuelGauge& gauge : kFuelGauges) {
    if (has(gauge.node)) return name_of(gauge);
  }
  return "none";
}

bool Readings::resets(const std::string& node, const std::string& text) const {
  if (text != "reset" || !has(node)) return false;
  const bool known = node == std::string(kBattery) + "present" ||
                     std::any_of(std::begin(kFuelGauges), std::end(kFuelGauges),
                                 [&](const FuelGauge& gauge) { return node == gauge.node; });
  if (known) __android_log_print(ANDROID_LOG_INFO, "battery", "the fuel gauge is reset by %s", node.c_str());
  return known;
}

// Brings the gauge's own nodes in line with the battery's.
bool Readings::write_gauge() {
  for (const FuelGauge& gauge : kFuelGauges) {
    if (!has(gauge.node)) continue;
    // A gauge of its own measures in millivolts.
    return (gauge.voltage == kVoltageNode || write(gauge.voltage, std::to_string(millivolts().value_or(0)))) &&
           (gauge.level == kLevelNode || write(gauge.level, std::to_string(number(kLevelNode).value_or(0))));
  }
  return true;
}

}  // namespace atd::sim
