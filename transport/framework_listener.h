// The listener on the daemon's socket: cuts what a client sends at NUL bytes into lines, splits a line into a command
// word and one argument, and runs the command of that word.
#pragma once

#include <sysutils/FrameworkCommand.h>
#include <sysutils/SocketListener.h>

namespace atd {

class AtFrameworkListener : public SocketListener {
 public:
  // A listener on the local socket of that name, with no commands.
  explicit AtFrameworkListener(const char* socketName);

  // Deletes the registered commands.
  ~AtFrameworkListener() override;

  // Appends a command and takes it over. Of two with the same word, the one registered first runs.
  void registerCmd(FrameworkCommand* command);

 protected:
  // Reads once, at most 16382 bytes, and runs every line that ends in a NUL; what follows the last NUL is dropped.
  // True keeps the client; false when it has closed or the read failed.
  bool onDataAvailable(SocketClient* client) override;

  // Runs one line. Answers an unknown word, an open quote, an unsupported escape and a lack of memory with code 500.
  void dispatchCommand(SocketClient* client, char* line);

 private:
  void runCommand(SocketClient* client, int argc, char** argv);

  android::sysutils::List<FrameworkCommand*>* commands_;
};

}  // namespace atd
