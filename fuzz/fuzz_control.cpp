// Feeds lines to the phone's control socket: a person's verbs.
#include <stdint.h>

#include "desk/control.h"
#include "fuzz/fuzz_phone.h"
#include "simulator/control.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static atd::FuzzPhone phone;
  phone->host = {.program = "fuzz",
                 .stop = [] {},
                 .request_to_system = request_to_system,
                 .ckpd_send_event = ckpd_send_event,
                 .send_key_native = send_key_native,
                 .ctsa_send_event = ctsa_send_event};
  atd::ControlRequest request;
  if (!atd::from_line({reinterpret_cast<const char*>(data), size}, &request)) return 0;
  // One that follows the log waits for lines in real time.
  for (const std::string& word : request.words) {
    if (word == "-f" || word == "--follow") return 0;
  }
  int replies = 0;
  atd::sim::run_verb(*phone.operator->(), request, [&](const atd::ControlReply& reply) {
    atd::ControlReply again;
    if (!from_line(to_line(reply), &again) || again.last != reply.last) abort();
    return ++replies < 20;
  });
  phone->faults.clear();
  phone->modem.set_delay(0);
  phone->modem.fail_request(0);
  init_modem_interface(0);
  if (!request.words.empty() && request.words[0] == "modem")
    atd::sim::write_file(phone->root() + "/sim/modem.conf", "");
  phone.settle();
  return 0;
}
