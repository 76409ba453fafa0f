// A recording of the daemon's socket: a JSON object a line, as atd --record and atdctl monitor --record write it.
#pragma once

#include <time.h>

#include <string>
#include <vector>

#include "client/output.h"
#include "client/wire.h"

namespace atd::client {

// One line of a recording.
struct Event {
  enum class Kind {
    connect,     // a client came
    disconnect,  // it went, or was dropped
    input,       // what one read of the daemon took from it
    missed,      // bytes that it sent and that are not recorded
    message,     // what the daemon said
  };

  int line = 0;     // its number, 1 is the first
  double time = 0;  // seconds since the epoch
  Kind kind = Kind::message;
  int client = 0;   // its number, 0 for a message to all
  int count = 0;    // missed: how many
  std::string bytes;
  Message message;
};

// Reads a recording, "-" for standard input; kUsage with the first line that is none as "FILE:LINE: what is wrong".
Failure read_recording(const std::string& file, std::vector<Event>* events);

// Appends messages to a recording.
class Recorder {
 public:
  Recorder() = default;
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // Opens the file, made when there is none; kUsage when that can't be.
  Failure open(const std::string& file);

  // Writes one line; kUsage when it can't be written whole.
  Failure write(const timespec& time, const Message& message);

 private:
  std::string file_;
  int fd_ = -1;
};

}  // namespace atd::client
