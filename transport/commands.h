// The commands of the daemon's socket.
#pragma once

#include "transport/framework_listener.h"
#include "transport/wire.h"

namespace atd {

// A command known by its word.
class AtdCommand : public FrameworkCommand {
 public:
  // Keeps the pointer to the word.
  explicit AtdCommand(const char* word) : FrameworkCommand(word) {}
  ~AtdCommand() override = default;
  int runCommand(SocketClient* client, int argc, char** argv) override = 0;
};

// The listener on "atd" with its three commands. A line without an argument runs its command with an empty
// argument; every command returns 0.
class CommandListener : public AtFrameworkListener {
 public:
  CommandListener();

 private:
  // "atcommand initialize": the platform service is ready. "atcommand adc TEXT": the service is to run an AT command.
  class AtCmd : public AtdCommand {
   public:
    AtCmd() : AtdCommand(kCommandWord) {}
    int runCommand(SocketClient* client, int argc, char** argv) override;
  };

  // "atresponse BASE64": the platform's answer to a request of ours.
  class AtCmdResponse : public AtdCommand {
   public:
    AtCmdResponse() : AtdCommand(kResponseWord) {}
    int runCommand(SocketClient* client, int argc, char** argv) override;
  };

  // "atsrequest BASE64": a service request.
  class AtServiceRequest : public AtdCommand {
   public:
    AtServiceRequest() : AtdCommand(kRequestWord) {}
    int runCommand(SocketClient* client, int argc, char** argv) override;
  };
};

}  // namespace atd
