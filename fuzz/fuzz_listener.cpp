// Feeds bytes to the listener through a real connection.
#include <stdint.h>

#include <algorithm>

#include "fuzz/fuzz_phone.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static atd::FuzzPhone phone;
  static auto* listener = new atd::FuzzListener;
  atd::FuzzClient client(*listener);
  while (size > 0) {
    // A read takes what one write brought, so the first byte of each piece says how long it is.
    const size_t piece = std::min<size_t>(size, 1 + data[0] * 97u);
    if (!client.send(data, piece)) break;
    data += piece;
    size -= piece;
  }
  phone.settle();
  return 0;
}
