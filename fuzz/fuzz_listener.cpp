// Feeds bytes to the listener through a real connection.
#include <algorithm>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "atd.h"
#include "fuzz/fuzz_phone.h"
#include "transport/at_socket.h"
#include "transport/commands.h"

namespace {

// Not started: the target calls it as its thread would.
struct Listener : atd::CommandListener {
  using CommandListener::onDataAvailable;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static atd::FuzzPhone phone;
  static Listener* listener = [] {
    auto* made = new Listener();
    atd::g_AtSocket = atd::AtSocket::Instance();
    atd::g_AtSocket->SetListener(made);
    init_modem_interface(0);
    return made;
  }();

  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) abort();
  fcntl(pair[0], F_SETFL, O_NONBLOCK);
  auto* client = new SocketClient(pair[1], true);
  char answers[16384];
  while (size > 0) {
    // A read takes what one write brought, so the first byte of each piece says how long it is.
    size_t piece = std::min<size_t>(size, 1 + data[0] * 97u);
    if (write(pair[0], data, piece) != static_cast<ssize_t>(piece)) break;
    data += piece;
    size -= piece;
    for (size_t read_so_far = 0; read_so_far < piece; read_so_far += 16382) {
      if (!listener->onDataAvailable(client)) abort();
      while (read(pair[0], answers, sizeof answers) > 0) {
      }
    }
  }
  close(pair[0]);
  if (listener->onDataAvailable(client)) abort();
  client->decRef();
  return 0;
}
