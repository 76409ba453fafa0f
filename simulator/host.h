// What a person can ask of the daemon that runs on the phone.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace atd::sim {

// What a function of the library gave back.
struct HostOutcome {
  long long result = 0;
  std::string out;  // what it wrote for its caller
  bool failed = false;
};

// A word that is no argument of that kind.
struct BadArgument {
  std::string what;
};

// A function of the library that a person can call.
struct HostFunction {
  std::string name;
  std::string arguments;  // one word each
  std::string summary;
  std::function<HostOutcome(const std::vector<std::string>& words)> run;  // as many words as arguments; BadArgument
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
  std::vector<HostFunction> functions;
};

}  // namespace atd::sim
