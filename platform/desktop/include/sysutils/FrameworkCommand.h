// A command of a socket service: a word and what it runs.
#pragma once

#include "SocketClient.h"

class FrameworkCommand {
 public:
  // Keeps the pointer to the command word, which must outlive the command.
  explicit FrameworkCommand(const char* cmd);
  virtual ~FrameworkCommand() = default;

  // Runs the command for a client; 0, or non-zero with errno.
  virtual int runCommand(SocketClient* c, int argc, char** argv) = 0;

  const char* getCommand() { return mCommand; }

 private:
  const char* mCommand;
};

typedef android::sysutils::List<FrameworkCommand*> FrameworkCommandCollection;
