// System properties.
#pragma once

#include <cutils/properties.h>

// Reads a property into value (PROPERTY_VALUE_MAX bytes, always terminated); the value's length, 0 when it is not set.
int system_property_get(const char* name, char* value);

// Sets a property; 0, or -1 when the name or the value is not acceptable or the property is read-only.
int system_property_set(const char* name, const char* value);
