#include "system/adc.h"

#include "platform/log.h"
#include "platform/node_access.h"
#include "system/reading.h"
#include "text/number.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr int kAdcTextSize = 128;
constexpr int kNumberSize = 12;
constexpr int kLowestMillivoltReading = -1000;

// Writes a node's millivolts; 1 when it cannot be read or says less than the codes of a text that is not understood,
// which become 0.
int get_millivolts(const char* node, const char* function, const char* complaint, char* out) {
  TextWriter writer(out, kNumberSize);
  char text[kAdcTextSize];
  if (read_or_complain(node, complaint, text, sizeof text) != 0) return 1;
  const int value = adc_to_val(text);
  if (value <= kLowestMillivoltReading) {
    SLOGE("%s:fail to change adc to val rt:%d\n", function, value);
    return 1;
  }
  writer.format("%d", value / 1000);
  return 0;
}

}  // namespace

int adc_to_val(char* text) {
  const char* number = nullptr;
  for (char* at = text; *at; ++at) {
    if (*at == ':') number = at + 1;
    if (*at != ' ') continue;
    if (!number) break;
    *at = '\n';
    return leading_number(number);
  }
  if (number) {
    SLOGE("adc_to_val: fail to search ' '\n");
    return -200;
  }
  SLOGE("adc_to_val: fail to search ':'\n");
  return -100;
}

// The lines of these two name the nodes of older kernels, as stations know them.
int get_vcoin_adc(char* out) {
  return get_millivolts("/proc/tav_power/adc/vcoin", __func__,
                        "get_vcoin_adc:fail to fopen [/sys/class/hwmon/hwmon0/device/vcoin] rt=", out);
}

int get_vphpwr_adc(char* out) {
  return get_millivolts("/proc/tav_power/adc/vph_pwr", __func__,
                        "get_vphpwr_adc:fail to fopen /sys/class/hwmon/hwmon0/device/vph_pwr rt:", out);
}

int get_vbus_adc_value(char* out) {
  TextWriter writer(out, kNumberSize);
  char text[kAdcTextSize];
  if (read_text("/proc/tav_power/adc/usb_in", "get_vbus_adc_value", text, sizeof text) != 0) return 1;
  const int value = adc_to_val(text);
  if (value < 0) {
    SLOGE("get_vbus_adc_value:fail to change adc to val rt:%d\n", value);
    return 1;
  }
  writer.format("%d", value);
  return 0;
}

int get_pcb_rev_adc(char* out) {
  TextWriter writer(out, kNumberSize);
  constexpr char kNode[] = "/proc/tav_power/platform/pcb_rev";
  char text[kAdcTextSize];
  if (read_text(kNode, "get_pcb_rev_adc", text, sizeof text) != 0) return 1;
  SLOGI("get_pcb_rev_adc: %s = %s\n", kNode, text);
  writer.format("%d", adc_to_val(text) / 1000);
  return 0;
}

int get_battey_id(char* out) {
  return read_or_complain("/proc/tav_power/adc/batt_id", "get_battey_id:fail to fopen rt:", out, kAdcTextSize);
}
