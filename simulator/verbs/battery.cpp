// The battery, the cable and the temperatures.
#include <errno.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "desk/nearest.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

constexpr int kZones = 100;  // more are not looked for
constexpr char kZone[] = "/sys/devices/virtual/thermal/thermal_zone";

void done(VerbCall& call, bool written) {
  if (!written) call.fail(kFailed, "cannot write the phone's nodes: " + std::string(strerror(errno)));
}

// Reads the i-th argument, a number with a fraction, in units of 1/scale; what is wrong fails the call.
bool fraction(VerbCall& call, size_t i, const char* what, int lowest, int highest, int scale, int* value) {
  char* end;
  const double number = strtod(call[i].c_str(), &end);
  if (!call[i].empty() && *end == '\0' && number >= lowest && number <= highest) {
    *value = static_cast<int>(lround(number * scale));
    return true;
  }
  call.fail(kUsage, std::string(what) + " is a number from " + std::to_string(lowest) + " to " +
                        std::to_string(highest) + ", such as 31.5, not \"" + call[i] + "\"");
  return false;
}

// A node's number over the scale; null where it has none.
Json value(const SimulatedDevice& device, const std::string& node, double scale) {
  const std::optional<long long> number = device.readings.number(node);
  if (!number) return {};
  return scale == 1 ? Json(*number) : Json(static_cast<double>(*number) / scale);
}

std::string shown(const Json& value, const char* unit) { return value.is_null() ? "?" : value.dump() + unit; }

void battery(SimulatedDevice& device, VerbCall& call) {
  const std::string folder = "/proc/tav_power/battery/", ac = "/sys/class/power_supply/ac/";
  const Json temperature = value(device, folder + "temp", 10);
  const std::optional<long long> millivolts = device.readings.millivolts();
  const Json voltage = millivolts ? Json(static_cast<double>(*millivolts) / 1000) : Json();
  const Json level = value(device, folder + "capacity", 1);
  const bool on = device.readings.number(ac + "charging_enabled").value_or(0) != 0;
  const bool complete = device.readings.number(ac + "charging_complete").value_or(0) != 0;
  const std::string charging = complete ? "complete" : on ? "on" : "off";
  const std::string cable = device.readings.cable(), gauge = device.readings.gauge();
  call.answer(table({{"level", shown(level, " %")},
                     {"temperature", shown(temperature, " C")},
                     {"voltage", shown(voltage, " V")},
                     {"charging", charging},
                     {"cable", cable},
                     {"fuel gauge", gauge}}),
              {{"level", level},
               {"temperature", temperature},
               {"voltage", voltage},
               {"charging", charging},
               {"cable", cable},
               {"fuel_gauge", gauge}});
}

void level(SimulatedDevice& device, VerbCall& call) {
  int percent;
  if (call.number(0, "the level", 0, 100, &percent)) done(call, device.readings.set_level(percent));
}

void temperature(SimulatedDevice& device, VerbCall& call) {
  int tenths;
  if (fraction(call, 0, "the temperature", -100, 200, 10, &tenths)) done(call, device.readings.set_temperature(tenths));
}

void voltage(SimulatedDevice& device, VerbCall& call) {
  int millivolts;
  if (fraction(call, 0, "the voltage", 1, 20, 1000, &millivolts)) done(call, device.readings.set_voltage(millivolts));
}

// Whether the first argument is one of the words; another one fails the call.
bool one_of(VerbCall& call, const char* what, const std::vector<std::string>& words) {
  if (std::find(words.begin(), words.end(), call[0]) != words.end()) return true;
  call.fail(kUsage, "no " + std::string(what) + " is named \"" + call[0] + "\"; write " + listed(words));
  return false;
}

void charging(SimulatedDevice& device, VerbCall& call) {
  if (!one_of(call, "state", {"on", "off", "complete"})) return;
  done(call, device.readings.set_charging(call[0] != "off", call[0] == "complete"));
}

void cable(SimulatedDevice& device, VerbCall& call) {
  if (call.count() == 0)
    return call.answer(device.readings.cable() + "\n", {{"cable", device.readings.cable()}}), void();
  if (!one_of(call, "cable", Readings::cables())) return;
  done(call, device.readings.set_cable(call[0]));
  call.afterwards([&device] { device.heed_cable(); });
}

void fuel_gauge(SimulatedDevice& device, VerbCall& call) {
  const std::string gauge = device.readings.gauge();
  if (call.count() == 0) call.answer(gauge + "\n", {{"fuel_gauge", gauge}});
  else if (one_of(call, "fuel gauge", Readings::gauges())) done(call, device.readings.set_gauge(call[0]));
}

void thermal(SimulatedDevice& device, VerbCall& call) {
  if (call.count() > 0) {
    int zone, tenths;
    if (!call.number(0, "the zone", 0, kZones - 1, &zone)) return;
    if (!fraction(call, 1, "the temperature", -100, 200, 10, &tenths)) return;
    if (!device.readings.has(kZone + call[0] + "/type")) return call.fail(kFailed, "there is no zone " + call[0]);
    return done(call, device.readings.set_zone(zone, tenths));
  }
  std::vector<std::vector<std::string>> lines = {{"ZONE", "TYPE", "DEGREES"}};
  Json json = Json::array();
  for (int zone = 0; zone < kZones; ++zone) {
    const std::string folder = kZone + std::to_string(zone), type = device.readings.text(folder + "/type");
    if (!device.readings.has(folder + "/type")) continue;
    const Json degrees = value(device, folder + "/temp", 10);
    lines.push_back({std::to_string(zone), type, shown(degrees, "")});
    json.push_back({{"zone", zone}, {"type", type}, {"degrees", degrees}});
  }
  call.answer(table(lines), json);
}

constexpr Verb kVerbs[] = {
    {"battery", "", "Shows the battery, the charger, the cable and the fuel gauge.", battery},
    {"battery level", "PERCENT", "Sets the battery's level.", level},
    {"battery temp", "DEGREES", "Sets the battery's temperature: \"battery temp 31.5\"; -30 is that of no thermistor.",
     temperature},
    {"battery voltage", "VOLTS", "Sets the battery's voltage, and the system's: \"battery voltage 3.85\".", voltage},
    {"battery charging", "on|off|complete", "Sets what the charger does.", charging},
    {"cable", "[none|usb|56k|130k|910k]", "Shows the cable, or plugs one in, or out.", cable},
    {"fuel-gauge", "[MODEL|none]",
     "Shows the fuel gauge, or gives the phone a fuel gauge: max17050, max17048, max17047, rt5058, bms, bq27421.",
     fuel_gauge},
    {"thermal", "[ZONE DEGREES]", "Shows the thermal zones, or sets one: \"thermal 3 45.0\".", thermal},
};

}  // namespace

std::span<const Verb> battery_rows() { return kVerbs; }

}  // namespace atd::sim
