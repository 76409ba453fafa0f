// A recording of the daemon's socket: one JSON object a line.
#pragma once

#include <time.h>

#include <string>

#include "desk/message.h"

namespace atd {

// One line of a recording.
struct Event {
  enum class Kind {
    connect,     // a client connected
    disconnect,  // it went away, or the daemon dropped it
    input,       // bytes of a client that the daemon took in one read
    missed,      // bytes that a client sent and that are not recorded
    message,     // what the daemon said
  };

  int line = 0;  // its number in the file, 1 is the first
  struct timespec time = {};
  Kind kind = Kind::message;
  int client = 0;  // its number, 0 for a message to all
  int count = 0;   // missed: how many
  std::string bytes;
  Message message;
};

// The line of an event, with its line end.
std::string event_line(const Event& event);

// Reads a line into *event, except its number; empty when all is well, else what is wrong.
std::string parse_event(const std::string& line, Event* event);

// The time as ISO 8601 in UTC, with microseconds.
std::string iso_time(const struct timespec& time);

}  // namespace atd
