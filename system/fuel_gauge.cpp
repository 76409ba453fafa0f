#include "system/fuel_gauge.h"

#include "platform/log.h"
#include "platform/node_access.h"
#include "system/fuel_gauge_models.h"
#include "system/reading.h"
#include "system/sysfs.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr int kLevelSize = 10 + 1;

// The gauge that the phone has, null for none. It is looked for at each reading: a battery pack brings its own.
const FuelGauge* find_gauge() {
  for (const FuelGauge& gauge : kFuelGauges) {
    if (check_sysfs(gauge.node) != 0) continue;
    SLOGE("%s", gauge.name);
    return &gauge;
  }
  SLOGE("NO DEFINED FUEL GUAGUE");
  return nullptr;
}

int write_reset(const char* node) {
  const int rt = unified_sysfs_write(node, "reset");
  if (rt >= 0) return 0;
  SLOGE("set_fuelguage_reset:fail to write %s rt:%d\n", node, rt);
  return 1;
}

// 0 when reading the node gives 1, else 1.
int read_reset(const char* node) {
  int done;
  return read_value(node, "set_fuelguage_reset", &done) == 0 && done == 1 ? 0 : 1;
}

}  // namespace

int check_fuel_model(int* model) {
  const FuelGauge* gauge = find_gauge();
  *model = gauge ? gauge->model : -1;
  return gauge ? 0 : 1;
}

int set_fuelguage_reset() {
  constexpr char kBatteryNode[] = "/proc/tav_power/battery/present";
  const FuelGauge* gauge = find_gauge();
  if (!gauge) return write_reset(kBatteryNode);
  switch (gauge->reset) {
    case GaugeReset::none: return 0;
    case GaugeReset::by_read: return read_reset(gauge->node);
    case GaugeReset::by_read_and_write: return read_reset(gauge->node) == 0 ? write_reset(kBatteryNode) : 1;
    case GaugeReset::by_write: return write_reset(gauge->node);
  }
  return 1;
}

int get_fuelgauge_level(char* out) {
  const FuelGauge* gauge = find_gauge();
  return read_text(gauge ? gauge->level : kLevelNode, "get_fuelgauge_level", out, kLevelSize);
}

int get_battery_voltage(char* out) {
  TextWriter writer(out, 16);
  const FuelGauge* gauge = find_gauge();
  int value;
  if (!gauge || read_value(gauge->voltage, "get_battery_voltage", &value) != 0) return 1;
  writer.format("%3.2f", value / (value < kFirstMicrovolt ? 1000.0 : 1000000.0));
  SLOGI("Lev %s", out);
  return 0;
}
