#include "client/recording.h"

#include <errno.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <string.h>
#include <unistd.h>

#include "client/input.h"

namespace atd::client {

Failure read_recording(const std::string& file, std::vector<Event>* events) {
  return read_lines(file, [&](int number, const std::string& line) -> std::string {
    if (line.empty()) return "";
    Event event;
    std::string error = parse_event(line, &event);
    event.line = number;
    events->push_back(event);
    return error;
  });
}

Recorder::~Recorder() {
  if (fd_ >= 0) close(fd_);
}

Failure Recorder::open(const std::string& file) {
  file_ = file;
  fd_ = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0660);
  if (fd_ >= 0) return {};
  return file_failure(file, errno);
}

Failure Recorder::write(const timespec& time, const Message& message) {
  Event event;
  event.time = time;
  event.message = message;
  const int error = write_all(fd_, event_line(event));
  if (error == 0) return {};
  return {kNoOutput, fmt::format("the recording {} cannot be written: {}", file_, strerror(error))};
}

}  // namespace atd::client
