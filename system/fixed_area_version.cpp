#include "system/fixed_area_version.h"

#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include "factory/items.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"

using namespace atd;

namespace {

// The item has 50 bytes; a record that was damaged there may lack its terminator.
constexpr size_t kItemSize = 50;
constexpr char kDefault[kItemSize] = "FFFFFFFFFFF-FFFFFFFFFFF-FFFFFFFFFFF-FFFFFFFFFFF-F";
using Record = char[kItemSize + 1];

constexpr size_t kIdentifier = 11;
constexpr size_t kAp = 0, kCp = 12, kCustomer = 24, kUserData = 36, kFlag = 48;
constexpr size_t kUserDataField = kIdentifier + 2;  // with its separator and its flag
constexpr size_t kCompared = 47;

enum Found { kRead, kMissing, kEmpty };

// Reads a file's first line into the record's field, which keeps what the line is too short for.
Found read_field(const char* path, char* field, size_t size) {
  FILE* file = fopen(device_path(path), "re");
  if (!file) return kMissing;
  char line[kItemSize];
  const bool read = fgets(line, sizeof line, file) != nullptr;
  fclose(file);
  const size_t length = read ? strcspn(line, "\r\n") : 0;
  if (length == 0) return kEmpty;
  memcpy(field, line, length < size ? length : size);
  return kRead;
}

bool read_part(const char* path, const char* name, char* field) {
  const Found found = read_field(path, field, kIdentifier);
  if (found != kRead) SLOGE("get_swfv : Cannot %s %s ubid\n", found == kMissing ? "find" : "read", name);
  return found == kRead;
}

int read_record(Record& record) {
  memset(record, 0, sizeof record);
  return get_sw_fixed_area_version_ftm_item(record);
}

// Copies a field of `size` bytes when its identifier differs; true when it did.
bool update(char* record, const char* version, size_t at, size_t size, const char* line) {
  if (memcmp(record + at, version + at, kIdentifier) == 0) return false;
  memcpy(record + at, version + at, size);
  SLOGI("%s", line);
  return true;
}

int write_record(const Record& record) {
  if (set_sw_fixed_area_version_ftm_item(record) == 0) return 0;
  SLOGE("SWFV-A cannot be written\n");
  return 1;
}

}  // namespace

int is_op_image_support() {
  struct stat image;
  return stat(device_path("/OP"), &image) == 0 ? 1 : 0;
}

int get_tav_factory_sw_fixed_area_version(char* out, int* length) {
  char record[kItemSize];
  memcpy(record, kDefault, sizeof record);
  out[0] = '\0';
  *length = 0;
  if (!read_part("/system/etc/ap.ubid", "ap", record + kAp)) return 1;
  memcpy(record + kCp, record + kAp, kIdentifier);
  record[kCp] = 'M';
  if (!read_part("/cust/cust.ubid", "cust", record + kCustomer)) return 1;

  Found found;
  if (is_op_image_support()) {
    SLOGI("get_swfv : Read op.ubid  %s\n", "/OP/_COMMON/op.ubid");
    found = read_field("/OP/_COMMON/op.ubid", record + kUserData, kUserDataField);
  } else {
    SLOGI("get_swfv : Read userdata.ubid\n");
    found = read_field("/data/.OP/userdata.ubid", record + kUserData, kUserDataField);
  }
  if (found != kRead) {
    SLOGE("get_swfv : Cannot %s userdata ubid, set to default\n", found == kMissing ? "find" : "read");
  }
  memcpy(out, record, sizeof record);
  *length = static_cast<int>(strlen(out));
  return found == kRead ? 0 : 1;
}

int system_update_settings_from_cust() {
  Record record;
  char version[kItemSize];
  int length;
  const bool stored = read_record(record) == 0;
  const bool none = get_tav_factory_sw_fixed_area_version(version, &length) != 0 && length == 0;
  SLOGI("SWFV FTM:   %s\n", record);
  SLOGI("SWFV PHONE: %s\n", version);
  if (!stored) {
    SLOGE("SWFV-A cannot be read\n");
    return 1;
  }
  if (none) {
    memcpy(record, kDefault, sizeof kDefault);
    if (write_record(record) != 0) return 1;
    SLOGI("SWFV-A updated, Model doesn't support SWFV\n");
    return 0;
  }
  if (memcmp(record, version, kCompared) == 0) return 0;
  update(record, version, kAp, kIdentifier + 1, "ap ubid updated\n");
  update(record, version, kCp, kIdentifier + 1, "cp ubid updated\n");
  update(record, version, kCustomer, kIdentifier + 1, "cust ubid updated\n");
  if (update(record, version, kUserData, kUserDataField, "userdata ubid updated\n")) {
    if (is_op_image_support()) {
      SLOGI("op ubid is exist");
    } else {
      system_property_set("persist.data.sbp.update", "0");
      SLOGI("persist.data.sbp.update set to 0\n");
    }
  }
  record[kFlag + 1] = '\0';
  if (write_record(record) != 0) return 1;
  SLOGI("SWFV-A updated:%s\n", record);
  return 0;
}

int get_swfv_userdata_flag() {
  Record record;
  if (read_record(record) != 0) {
    SLOGE("SWFV flag update Not OK, couldn't get ftmitem\n");
    return '0';
  }
  SLOGI("SWFV flag [48]=%c\n", record[kFlag]);
  return record[kFlag];
}

int update_swfv_userdata_flag() {
  Record record;
  if (read_record(record) != 0) {
    SLOGE("SWFV flag update Not OK, couldn't get ftmitem\n");
    return 1;
  }
  if (record[kFlag] == '1') {
    SLOGI("SWFV flag update NA, already flag 1");
    return 0;
  }
  record[kFlag] = '1';
  if (set_sw_fixed_area_version_ftm_item(record) != 0) {
    SLOGE("SWFV flag update Not OK, set ftmitem\n");
    return 1;
  }
  SLOGI("SWFV flag update OK");
  return 0;
}
