#include "system/thermal.h"

#include <string.h>

#include <atomic>

#include "platform/log.h"
#include "platform/node_access.h"
#include "system/reading.h"
#include "text/number.h"
#include "text/prefix.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr int kHighestSensor = 7;
constexpr int kSensorCount = 7;
constexpr int kFirstTenth = 101;
constexpr int kDegreesSize = 16;
constexpr int kNumberSize = 12;

std::atomic<int> g_sensor{0};

// Reads a zone's type, without its line end, into a buffer of 64 bytes; false behind the last zone.
bool read_type(int zone, char* type) {
  char node[64];
  TextWriter(node).format("/sys/devices/virtual/thermal/thermal_zone%d/type", zone);
  if (unified_sysfs_read(node, type, 64) < 0) return false;
  type[strcspn(type, "\n")] = '\0';
  return true;
}

bool is_sensor(const char* type) { return begins_with(type, "tsens_tz_sensor"); }

int read_temperature(const char* function, int zone, int* number) {
  char node[64];
  TextWriter(node).format("/sys/devices/virtual/thermal/thermal_zone%d/temp", zone);
  return read_value(node, function, number);
}

}  // namespace

int get_tsens_count() {
  char type[64];
  int count = 0;
  for (int zone = 0; read_type(zone, type); ++zone) count += is_sensor(type);
  return count;
}

int get_tsens_temp(int n, char* out) {
  TextWriter writer(out, kDegreesSize);
  SLOGI("them_num value before = %d\n", n);
  const int zone = static_cast<int>(static_cast<unsigned>(n) + 2);
  SLOGI("them_num value = %d\n", zone);
  int tenths;
  if (read_temperature("get_tsens_temp", zone, &tenths) != 0) return 1;
  writer.format("%.1f", tenths / 10.0);
  return 0;
}

int get_tsens_temp_rec(int n, char* out) {
  TextWriter writer(out, kDegreesSize);
  char type[64];
  int count = 0;
  for (int zone = 0; read_type(zone, type); ++zone) {
    if (!is_sensor(type) || ++count != n) continue;
    int number;
    if (read_temperature("get_tsens_temp_rec", zone, &number) != 0) return 1;
    double value = number;
    SLOGI("node: thermal_zone%d, tsens_value: %f, tsens_name: %s", zone, value, type);
    if (number >= kFirstTenth) value /= 10;
    writer.format("%.1f", value);
    return 0;
  }
  SLOGE("get_tsens_temp_rec: there is no sensor %d", n);
  return 1;
}

int do_tsens(int value, int operation, char* out) {
  if (operation == 1) {
    if (value > kHighestSensor) return 1;
    g_sensor = value;
  }
  if (operation == 1 || operation == 2) TextWriter(out, kNumberSize).format("%d", g_sensor.load());
  if (operation == 3) TextWriter(out, kNumberSize).format("%d", kSensorCount);
  return 0;
}

int get_xo_therm_temp(const char*, char* out, int* length) {
  TextWriter writer(out, kNumberSize);
  *length = 0;
  char text[128];
  if (read_text("/proc/tav_power/adc/xo_therm", "get_xo_therm_temp", text, sizeof text) != 0) return 1;
  SLOGI("BUF = %s", text);
  const int degrees = store_xo_therm(text);
  SLOGI("xo_therm = %d", degrees);
  writer.format("%d", degrees);
  *length = static_cast<int>(writer.length());
  SLOGI("result = %s", out);
  return 0;
}

int store_xo_therm(const char* text) {
  const char* colon = strchr(text, ':');
  if (!colon) return 0;
  char digits[3];
  TextWriter(digits).bytes(colon + 1, strnlen(colon + 1, 2));
  return leading_number(digits);
}
