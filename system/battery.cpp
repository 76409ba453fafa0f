#include "system/battery.h"

#include "platform/log.h"
#include "platform/node_access.h"
#include "system/reading.h"
#include "system/sysfs.h"
#include "text/number.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr int kNodeText = 10 + 1;
constexpr int kNumberSize = 12;
constexpr int kNoThermistor = -300;
constexpr char kChargingEnabled[] = "/sys/class/power_supply/ac/charging_enabled";
constexpr char kChargingComplete[] = "/sys/class/power_supply/ac/charging_complete";

bool is_switch(char c) { return c == '0' || c == '1'; }

int get_current(const char* node, const char* complaint, char* out) {
  TextWriter writer(out, kNumberSize);
  char text[kNodeText];
  if (read_or_complain(node, complaint, text, sizeof text) != 0) return 1;
  writer.format("%d", leading_number(text));
  return 0;
}

}  // namespace

int get_battery_therm(char* out) {
  if (read_text("/proc/tav_power/battery/temp", "get_battery_therm", out, kNodeText) != 0) return 1;
  // The line names the other node of the same reading.
  SLOGI("Battry Therm [/sys/class/power_supply/battery/temp]=%s", out);
  return leading_number(out) == kNoThermistor ? 1 : 0;
}

int get_batt_them(char* out) {
  TextWriter writer(out, 16);
  int tenths;
  if (read_value("/sys/class/power_supply/battery/temp", "get_batt_them", &tenths) != 0) return 1;
  writer.format("%.1f", tenths / 10.0);
  return 0;
}

int get_charge_status(char* out) { return read_text(kChargingEnabled, "get_charge_status", out, kNodeText); }

int set_charge_status(char c) { return is_switch(c) && write_sysfs(kChargingEnabled, &c, 1) != 0 ? 1 : 0; }

int get_charging_complete_status(unsigned char* out) {
  int complete;
  if (read_value(kChargingComplete, "get_charging_complete_status", &complete) != 0) return 1;
  *out = static_cast<unsigned char>(complete);
  SLOGI("Charging Complete [%s]=%d", kChargingComplete, *out);
  return 0;
}

int set_charging_complete_status(char c) { return is_switch(c) && write_sysfs(kChargingComplete, &c, 1) != 0 ? 1 : 0; }

// The lines of the currents name the nodes of older kernels, as stations know them.
int get_ibat_current(char* out) {
  return get_current("/proc/tav_power/charger/ibat_current",
                     "get_ibat_current:fail to fopen /sys/class/power_supply/battery/current_now rt:", out);
}

int get_ichg_current(char* out) {
  return get_current("/proc/tav_power/charger/ichg_current",
                     "get_ichg_current:fail to fopen /sys/class/power_supply/ac/current_now rt:", out);
}
