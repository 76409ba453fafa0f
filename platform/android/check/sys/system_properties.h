// The C library's properties, for a compiler whose C library is not the phone's: scripts/check-android has this folder
// on its include path, a build for a phone does not.
#pragma once

#define PROP_NAME_MAX 32
#define PROP_VALUE_MAX 92

extern "C" {

// Reads a property into value (PROP_VALUE_MAX bytes); its length, 0 when it is not set.
int __system_property_get(const char* name, char* value);

// A property's record, or null when it is not set.
struct prop_info;
const prop_info* __system_property_find(const char* name);

// Sets a property; 0, or -1.
int __system_property_set(const char* name, const char* value);

}  // extern "C"
