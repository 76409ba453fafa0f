// System properties.
#pragma once

#include <cutils/properties.h>

// Reads a property into value (PROPERTY_VALUE_MAX bytes, always terminated); the value's length, 0 when it is not set.
int system_property_get(const char* name, char* value);

// Whether a property is set, if only to the empty text.
bool system_property_is_set(const char* name);

// Sets a property, whole or not at all; a "persist." one survives a power loss from then on. 0, or -1 when the name or
// the value is not acceptable, the property is read-only or it cannot be written.
int system_property_set(const char* name, const char* value);
