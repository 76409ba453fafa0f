#include "system/versions.h"

#include <string.h>

#include "platform/log.h"
#include "platform/properties.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr size_t kVersionSize = 128;

// Reads a property; false with an error in the log when it is not set.
bool read(const char* property, char (&value)[PROPERTY_VALUE_MAX], const char* complaint) {
  value[0] = '\0';
  if (system_property_get(property, value) > 0) return true;
  SLOGE("%s", complaint);
  return false;
}

int copy_property(const char* property, char* out) {
  out[0] = '\0';
  return system_property_get(property, out) > 0 ? 0 : -1;
}

}  // namespace

int get_tav_factory_sw_version(int, char* out, int* length) {
  TextWriter text(out, kVersionSize);
  *length = 0;
  SLOGI("CDMA VERSION TYPE");
  char factory[PROPERTY_VALUE_MAX], version[PROPERTY_VALUE_MAX], revision[PROPERTY_VALUE_MAX];
  if (read("ro.tav.factoryversion", factory, "[TAV][ATD] ro.tav.factoryversion read error")) {
    SLOGI("[TAV][ATD] ro.tav.factoryversion is [%s]\n", factory);
  }
  if (!read("ro.tav.swversion", version, "ro.tav.swversion property is not active or read error")) return 1;
  if (strstr(version, "ZUX")) {
    char brief[PROPERTY_VALUE_MAX];
    if (!read("ro.tav.swversion_short", brief, "ro.tav.swversion_short property is not active or read error") ||
        !read("ro.tav.swversion_rev", revision, "ro.tav.swversion_rev property is not active or read error")) {
      return 1;
    }
    // The short version goes without its first character.
    text.bytes(version, strcspn(version, "_")).format("%s_%s", brief + 1, revision);
  } else {
    if (!read("ro.tav.swversion_rev", revision, "Rev. is not active or read error")) return 1;
    text.format("%s_%s", version, revision);
  }
  SLOGI("CDMA VERSION TYPE [%s]\n", out);
  *length = static_cast<int>(text.length());
  return 0;
}

int get_tav_android_sw_version(char* out, int* length) {
  const int error = copy_property("ro.build.version.release", out);
  *length = static_cast<int>(strlen(out));
  if (error != 0) {
    SLOGE("Cannot get response. Return error!\n");
    return 1;
  }
  SLOGI("[Version Info] Version :%s\n", out);
  return 0;
}

int get_tav_bynary_revision(char* out, int* length) {
  char revision[PROPERTY_VALUE_MAX] = "";
  *length = system_property_get("ro.tav.swversion_rev", revision);
  if (*length == 1 || *length == 2) {
    memcpy(out, revision, 3);
    SLOGI("Binary Revision :%s\n", out);
  } else {
    memcpy(out, "0", 2);
    *length = 1;
  }
  return 0;
}

int system_get_model_name(char* out) { return copy_property("ro.model.name", out); }
int system_get_build_date(char* out) { return copy_property("ro.build.date", out); }
