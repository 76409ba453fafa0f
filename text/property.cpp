#include "text/property.h"

#include "platform/properties.h"

namespace atd {

char first_character(const char* property) {
  char value[PROPERTY_VALUE_MAX];
  property_get(property, value, "0");
  return value[0];
}

}  // namespace atd
