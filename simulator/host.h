// What a person can ask of the daemon that runs on the phone.
#pragma once

#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

namespace atd::sim {

// What a call of the library's functions by name tells its caller.
struct HostAnswer {
  std::string text, json;  // both forms, with their line ends
  int status = 0;          // the caller's exit status
  std::string error;       // in the JSON, too
};

struct HostReading {
  uint64_t files, bytes;
};

// The daemon sets these before a person can ask. What is not set, it cannot do. The functions have the contracts of the
// library's functions of the same names.
struct Host {
  std::string program;         // its name and version
  std::function<void()> stop;  // ends the daemon
  std::function<int(int opcode, const char* data, int length, char* out, int* out_length, int* status)>
      request_to_system;
  std::function<int(char* text)> ckpd_send_event;
  std::function<int(int scancode, int status)> send_key_native;
  std::function<int(char* mode, char* x, char* y, char* unused)> ctsa_send_event;
  // What the daemon has read since it began.
  std::function<HostReading()> read_so_far;
  // NAME [ARGUMENT...] [--yes] [--help]; no words show the functions.
  std::function<HostAnswer(const std::vector<std::string>& words)> call;
};

}  // namespace atd::sim
