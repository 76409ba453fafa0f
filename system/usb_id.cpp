#include "system/usb_id.h"

#include <string.h>

#include "platform/log.h"
#include "platform/node_access.h"
#include "platform/properties.h"
#include "system/adc.h"
#include "system/hw_version.h"
#include "system/reading.h"
#include "text/prefix.h"
#include "text/text_writer.h"

using namespace atd;

int32_t cable[3][3] = {
    {100, 490, 56},
    {610, 780, 130},
    {1350, 1630, 910},
};

namespace {

constexpr char kNode[] = "/proc/tav_power/adc/usb_id";
constexpr int kAdcTextSize = 128;

constexpr int32_t kExceptions[3][3] = {
    {250, 450, 56},
    {470, 660, 130},
    {800, 950, 910},
};

}  // namespace

void check_cable_tbl_exception(int32_t (*table)[3]) {
  char product[PROPERTY_VALUE_MAX] = "";
  char revision[6];
  int length;
  system_property_get("ro.product.name", product);
  get_tav_hw_version(revision, &length);
  if (!begins_with(product, "k4_bqr_xy") && !begins_with(product, "k4n_bqr_xy")) return;
  if (strcmp(revision, "0.b_1") < 0) return;
  memcpy(table, kExceptions, sizeof kExceptions);
  SLOGI("cable table changed.. model = %s, hw_rev = %s\n", product, revision);
}

int get_usb_id_adc(char* out) {
  TextWriter writer(out, 24);
  char text[kAdcTextSize];
  if (read_or_complain(kNode, "get_usb_id_adc:fail to fopen rt:", text, sizeof text) != 0) return 1;
  const int value = adc_to_val(text);
  if (value < 0) {
    SLOGE("get_usb_id_adc:fail to change adc to val rt:%d\n", value);
    return 1;
  }
  check_cable_tbl_exception(cable);
  const int millivolts = value / 1000;
  int id = 0;
  for (const int32_t(&row)[3] : cable) {
    if (row[0] >= millivolts || millivolts > row[1]) continue;
    id = row[2];
    break;
  }
  SLOGI("ADC_level : %d, usb_id : %d", value, id);
  writer.format("%d,%d", value, id);
  return 0;
}

int get_usbidadc_status(char* out) { return read_text(kNode, "get_usbidadc_status", out, kAdcTextSize); }
