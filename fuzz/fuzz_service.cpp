// Feeds records, framed as on the socket, to the dispatcher.
#include <algorithm>
#include <stdint.h>

#include "atd.h"
#include "fuzz/fuzz_phone.h"
#include "transport/at_socket.h"
#include "transport/base64.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static atd::FuzzPhone phone;
  static bool ready = (init_modem_interface(0), true);
  (void)ready;
  size = std::min<size_t>(size, 4096);
  std::string text(atd::base64_text_size(size), '\0');
  atd::base64_encode(data, static_cast<int>(size), text.data());
  return atd::AtSocket::Instance()->RequestFromAndroid(text.c_str());
}
