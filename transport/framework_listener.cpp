#include "transport/framework_listener.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "platform/log.h"
#include "transport/wire.h"

namespace atd {

namespace {

// Both are shared by all clients: lines are read and run on the listener's one thread.
char buffer[kReadBufferSize];
char tmp[kReadBufferSize];

constexpr int kMaxArguments = 16;

}  // namespace

AtFrameworkListener::AtFrameworkListener(const char* socketName)
    : SocketListener(socketName, true), commands_(new android::sysutils::List<FrameworkCommand*>()) {}

AtFrameworkListener::~AtFrameworkListener() {
  // The thread runs the commands, so it ends before they are deleted.
  stopListener();
  for (FrameworkCommand* command : *commands_) delete command;
  delete commands_;
}

void AtFrameworkListener::registerCmd(FrameworkCommand* command) { commands_->push_back(command); }

bool AtFrameworkListener::onDataAvailable(SocketClient* client) {
  ssize_t length;
  do {
    length = read(client->getSocket(), buffer, sizeof buffer - 1);
  } while (length < 0 && errno == EINTR);
  if (length < 0) {
    SLOGE("read() failed (%s)", strerror(errno));
    return false;
  }
  if (length == 0) return false;

  char* line = buffer;
  char* const end = buffer + length;
  while (char* nul = static_cast<char*>(memchr(line, '\0', static_cast<size_t>(end - line)))) {
    dispatchCommand(client, line);
    line = nul + 1;
  }
  return true;
}

void AtFrameworkListener::dispatchCommand(SocketClient* client, char* line) {
  char* argv[kMaxArguments] = {};
  int argc = 0;
  bool quoted = false;
  const char* refusal = nullptr;

  char* out = tmp;
  const char* in = line;
  while (char character = *in) {
    ++in;
    if (character == '\\') {
      if (*in == '\0') break;  // nothing left to escape
      if (*in != '\\' && *in != '"') {
        refusal = "Unsupported escape sequence";
        break;
      }
      *out++ = *in++;
    } else if (character == '"') {
      quoted = !quoted;
    } else if (character == ' ' && !quoted && argc == 0) {
      // Only the first space outside quotes splits; after it a space is a character like any other.
      *out = '\0';
      argv[argc++] = strdup(tmp);
      out = tmp;
      if (!strchr(in, '"') && !strchr(in, '\\')) {
        out = stpcpy(out, in);
        break;
      }
    } else {
      *out++ = character;
    }
  }
  if (!refusal) {
    *out = '\0';
    argv[argc++] = strdup(tmp);
    if (quoted) refusal = "Unclosed quotes error";
  }
  for (int i = 0; i < argc && !refusal; ++i) {
    if (!argv[i]) refusal = "Out of memory";  // the next line may find some again
  }
  if (refusal) client->sendMsg(kRefusedCode, refusal, false);
  else runCommand(client, argc, argv);
  for (int i = 0; i < argc; ++i) free(argv[i]);
}

void AtFrameworkListener::runCommand(SocketClient* client, int argc, char** argv) {
  for (FrameworkCommand* command : *commands_) {
    if (strcmp(argv[0], command->getCommand()) != 0) continue;
    if (command->runCommand(client, argc, argv) != 0) {
      SLOGE("Handler '%s' error (%s)", command->getCommand(), strerror(errno));
    }
    return;
  }
  client->sendMsg(kRefusedCode, "Command not recognized", false);
}

}  // namespace atd
