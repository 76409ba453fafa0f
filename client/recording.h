// Recordings in files.
#pragma once

#include <time.h>

#include <string>
#include <vector>

#include "client/failure.h"
#include "desk/message.h"
#include "desk/recording.h"

namespace atd::client {

// Reads a recording, "-" for standard input; kUsage with "FILE:LINE: what is wrong" for the first line that does not
// belong in a recording.
Failure read_recording(const std::string& file, std::vector<Event>* events);

// Appends messages to a recording.
class Recorder {
 public:
  Recorder() = default;
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // Opens the file, or makes it when there is none; file_failure() when neither is possible.
  Failure open(const std::string& file);

  // Writes one line; kNoOutput when it cannot be written whole.
  Failure write(const timespec& time, const Message& message);

 private:
  std::string file_;
  int fd_ = -1;
};

}  // namespace atd::client
