// Messages of the daemon's socket, as its clients and tools see them.
#pragma once

#include <stddef.h>

#include <string>

#include "transport/wire.h"

namespace atd {

// One message of the daemon.
struct Message {
  int code = 0;       // 0 when the message does not begin with one
  std::string text;   // what follows the code and a space
  std::string bytes;  // the whole message as it came, without its NUL
};

// The message that has these bytes, which come without the NUL.
Message to_message(std::string bytes);

// Cuts the bytes of a connection into messages, however they were split on the way.
class Splitter {
 public:
  void add(const char* bytes, size_t size) { pending_.append(bytes, size); }

  // Takes the next whole message into *message; false when there is none yet.
  bool next(Message* message);

  // Bytes of the message that has no NUL yet.
  size_t pending() const { return pending_.size() - begin_; }

 private:
  std::string pending_;
  size_t begin_ = 0;    // of the first message not yet taken
  size_t scanned_ = 0;  // no NUL from begin_ up to here
};

}  // namespace atd
