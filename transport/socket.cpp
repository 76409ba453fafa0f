#include "transport/socket.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "platform/log.h"
#include "transport/at_socket.h"
#include "transport/commands.h"

using namespace atd;

int init_socket() {
  g_AtSocket = AtSocket::Instance();
  if (!g_AtSocket) {
    SLOGE("Unable to create AtSocket");
    exit(1);
  }
  g_CommandListener = new CommandListener();
  g_AtSocket->SetListener(g_CommandListener);
  if (g_CommandListener->startListener() != 0) {
    SLOGE("Unable to start FrameworkListener (%s)", strerror(errno));
    exit(1);
  }
  serve_requests();
  SLOGI("%s: sucess init socket .....", "init_socket");
  return 0;
}

void stop_socket() {
  SLOGI("%s\n", "stop_socket");
  // After the clients are told, nothing follows of a request.
  end_requests();
  await_requests();
  AtSocket::Clear();
  if (g_CommandListener && g_CommandListener->stopListener() != 0) {
    SLOGE("Unable to stop FrameworkListener (%s)", strerror(errno));
  }
  delete g_CommandListener;
  g_CommandListener = nullptr;
  delete g_AtSocket;
  g_AtSocket = nullptr;
}
