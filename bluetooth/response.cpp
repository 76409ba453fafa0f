#include "bluetooth/response.h"

#include <string.h>

int bt_resp(int result, char* out, const char* text) {
  if (out && text) strcpy(out, text);
  return result;
}
