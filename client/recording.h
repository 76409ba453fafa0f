// The files of recordings.
#pragma once

#include <time.h>

#include <string>
#include <vector>

#include "client/output.h"
#include "desk/recording.h"

namespace atd::client {

// Reads a recording, "-" for standard input; kUsage with the first line that is not one of a recording as "FILE:LINE:
// what is wrong".
Failure read_recording(const std::string& file, std::vector<Event>* events);

// Appends messages to a recording.
class Recorder {
 public:
  Recorder() = default;
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // Opens the file, made when there is none; kUsage when that is not possible.
  Failure open(const std::string& file);

  // Writes one line; kUsage when it cannot be written whole.
  Failure write(const timespec& time, const Message& message);

 private:
  std::string file_;
  int fd_ = -1;
};

}  // namespace atd::client
