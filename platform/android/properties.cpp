#include "platform/properties.h"

#include <sys/system_properties.h>

static_assert(PROPERTY_VALUE_MAX == PROP_VALUE_MAX, "callers give a buffer of PROPERTY_VALUE_MAX bytes");

int system_property_get(const char* name, char* value) {
  int length = __system_property_get(name, value);
  return length > 0 ? length : 0;
}

bool system_property_is_set(const char* name) { return __system_property_find(name) != nullptr; }

int system_property_set(const char* name, const char* value) {
  return __system_property_set(name, value) == 0 ? 0 : -1;
}
