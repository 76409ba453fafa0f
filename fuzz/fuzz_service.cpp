// Feeds records, framed as on the socket, to the dispatcher.
#include <algorithm>
#include <stdint.h>

#include "atd.h"
#include "desk/framing.h"
#include "fuzz/fuzz_phone.h"
#include "transport/at_socket.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static atd::FuzzPhone phone;
  static bool ready = (init_modem_interface(0), true);
  (void)ready;
  size = std::min<size_t>(size, 4096);
  const std::string text = atd::to_base64({reinterpret_cast<const char*>(data), size});
  return atd::AtSocket::Instance()->RequestFromAndroid(text.c_str());
}
