#include "transport/commands.h"

#include <string.h>

#include "platform/log.h"
#include "transport/at_socket.h"

namespace atd {

namespace {

const char* argument(int argc, char** argv) { return argc > 1 ? argv[1] : ""; }

}  // namespace

CommandListener::CommandListener() : AtFrameworkListener("atd") {
  registerCmd(new AtCmd());
  registerCmd(new AtCmdResponse());
  registerCmd(new AtServiceRequest());
}

int CommandListener::AtCmd::runCommand(SocketClient*, int argc, char** argv) {
  for (int i = 0; i < argc; ++i) SLOGI("Command[%d] = %s", i, argv[i]);

  const char* text = argument(argc, argv);
  if (strcmp(text, kInitializeArgument) == 0) {
    g_AtSocket->Initialize();
  } else if (strncmp(text, kAdcArgument, sizeof kAdcArgument - 1) == 0) {
    SLOGI("adc test!");
    // One separator follows the word, whatever it is. After that the command begins at the first printable character.
    const char* command = text + strnlen(text, sizeof kAdcArgument);
    while (*command != '\0' &&
           (static_cast<unsigned char>(*command) <= 32 || static_cast<unsigned char>(*command) >= 128)) {
      ++command;
    }
    if (*command != '\0') g_AtSocket->SendAtCommand(command);
  }
  return 0;
}

int CommandListener::AtCmdResponse::runCommand(SocketClient*, int argc, char** argv) {
  g_AtSocket->SendResponse(argument(argc, argv));
  return 0;
}

int CommandListener::AtServiceRequest::runCommand(SocketClient*, int argc, char** argv) {
  g_AtSocket->RequestFromAndroid(argument(argc, argv));
  return 0;
}

}  // namespace atd
