#include "system/version_sync.h"

#include <string.h>

#include "channel/modem_records.h"
#include "factory/item_registry.h"
#include "factory/items.h"
#include "factory/modem_channel.h"
#include "factory/modem_items.h"
#include "platform/log.h"
#include "platform/properties.h"
#include "platform/records.h"
#include "system/hw_version.h"
#include "system/power.h"
#include "system/versions.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

enum Outcome { kSame, kWritten, kNotWritten };

// Brings a text item up to date, padded with NULs.
Outcome update(const FactoryItem& item, const char* stored, const char* text, int (*set)(const char* buffer)) {
  const size_t size = static_cast<size_t>(item.length);
  if (strncmp(stored, text, size) == 0) return kSame;
  char buffer[128] = {};
  memcpy(buffer, text, strnlen(text, size));
  return set(buffer) == 0 ? kWritten : kNotWritten;
}

int fail(const char* line) {
  SLOGE("%s", line);
  return 1;
}

// A numbered item of the modem that keeps a text, and the words of its log lines.
struct NvText {
  int item;
  size_t least;  // a shorter text is not written
  const char* function;
  const char* name;
  const char* short_name;
  const char* line_end;
};

constexpr NvText kSoftware = {33797, 6, "system_nvwrite_version_info", "SW Version", "swv", "\n"};
constexpr NvText kHardware = {33798, 1, "system_nvwrite_hwversion_info", "HW Version", "hwv", " \n"};
constexpr NvText kModel = {33799, 4, "system_nvwrite_model_name_info", "Model Name", "model_name", "\n"};

int synchronize(const NvText& row, const char* text) {
  char stored[kNvDataSize + 1] = {};
  char data[kNvDataSize] = {};
  const size_t length = strnlen(text, sizeof data - 1);
  memcpy(data, text, length);
  // One that was never written cannot be read either.
  if (tav_diag_nvread(row.item, stored) != 0) stored[0] = '\0';
  SLOGI("%s_length : %d, nv_buf : %s, %s_buf : %s%s", row.short_name, static_cast<int>(length), stored, row.short_name,
        data, row.line_end);
  if (strcmp(stored, data) == 0) {
    SLOGI("%s is already synchronized\n", row.name);
    return 0;
  }
  if (length < row.least) return 0;
  if (tav_diag_nvwrite(row.item, data) != 0) {
    SLOGE("%s: nv write fail\n", row.function);
    return 1;
  }
  if (system_efs_sync() != 0) {
    SLOGE("%s: efs sync fail\n", row.function);
    return 1;
  }
  SLOGI("%s is synchronized with NV Item\n", row.name);
  return 0;
}

}  // namespace

int system_write_version_info() {
  char stored[item<14>.length + 1] = {};
  char version[128];
  int length;
  if (get_sw_version_ftm_item(stored) != 0) return fail("get_sw_version_ftm_item fail\n");
  if (get_tav_factory_sw_version(2, version, &length) != 0) {
    return fail("get_tav_factory_sw_version fail: TAV_MODEM_VERSION_GSM_TYPE_SECURED\n");
  }
  if (length > 0) {
    const Outcome outcome = update(item<14>, stored, version, set_sw_version_ftm_item);
    if (outcome == kNotWritten) return fail("SW Version write fail\n");
    if (outcome == kWritten) SLOGI("SW Version is written\n");
  }

  memset(stored, 0, sizeof stored);
  if (get_sw_original_version_ftm_item(stored) != 0) return fail("get_sw_original_version_ftm_item fail\n");
  if (get_tav_factory_sw_version(1, version, &length) != 0) {
    return fail("get_tav_factory_sw_version fail: TAV_MODEM_VERSION_GSM_TYPE\n");
  }
  const Outcome outcome = update(item<15>, stored, version, set_sw_original_version_ftm_item);
  if (outcome == kNotWritten) return fail("SW Orginal Version write fail\n");
  if (outcome == kSame) return 0;
  SLOGI("SW Orginal Version is written\n");
  return set_lcd_break_mode(0) == 0 ? 0 : 1;
}

int system_write_pid_info() {
  char stored[item<4>.length + 1] = {};
  char pid[MAX_RZCMD_REQ_SIZE + 1] = {};
  if (get_pid(stored) != 0) return fail("get_pid fail\n");
  if (read_tav_pid(nullptr, 0, pid, nullptr) != 0) {
    return fail("get pid modem request fail : TAV_MODEM_MSG_PID_READ\n");
  }
  if (!*pid) return 0;
  const Outcome outcome = update(item<4>, stored, pid, set_pid);
  if (outcome == kNotWritten) return fail("PID write fail\n");
  if (outcome == kWritten) SLOGI("PID is written\n");
  return 0;
}

int nv_factoryitem_sync() {
  SLOGI("[%s] nv_factoryitem_sync\n", __func__);
  if (system_nvwrite_version_info() == 1) return 1;
  if (system_nvwrite_hwversion_info() == 1) return 1;
  return system_nvwrite_model_name_info() == 1 ? 1 : 0;
}

int system_nvwrite_version_info() {
  char version[128];
  int length;
  if (get_tav_factory_sw_version(1, version, &length) != 0) return fail("get_tav_factory_sw_version fail\n");
  SLOGI("pre swv_leng : %d, swv : %s", length, version);
  return synchronize(kSoftware, version);
}

int system_nvwrite_hwversion_info() {
  constexpr size_t kLongest = 10;
  char version[128] = "", text[kLongest + 1];
  int length = 0;
  if (get_tav_hw_version(version, &length) != 0) version[0] = '\0';
  TextWriter(text).text(version);
  return synchronize(kHardware, text);
}

int system_nvwrite_model_name_info() {
  char model[PROPERTY_VALUE_MAX];
  system_get_model_name(model);
  return synchronize(kModel, model);
}
