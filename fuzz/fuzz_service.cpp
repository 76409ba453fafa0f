// Feeds records, framed as on the socket, to the dispatcher.
#include <stdint.h>

#include <algorithm>

#include "desk/framing.h"
#include "fuzz/fuzz_phone.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static atd::FuzzPhone phone;
  size = std::min<size_t>(size, 4096);
  const std::string text = atd::to_base64({reinterpret_cast<const char*>(data), size});
  atd::AtSocket::Instance()->RequestFromAndroid(text.c_str());
  phone.settle();
  return 0;
}
