// The property library.
#pragma once

#define PROPERTY_KEY_MAX 32
#define PROPERTY_VALUE_MAX 92

extern "C" {

// Reads a property into value (PROPERTY_VALUE_MAX bytes); an unset or empty one reads as the default where that is
// given, else as "". Returns the length of what is in value.
int property_get(const char* key, char* value, const char* default_value);

// Sets a property; 0, or negative when it was refused or cannot be written.
int property_set(const char* key, const char* value);

}  // extern "C"
