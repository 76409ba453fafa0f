// What travels on the control socket of the simulated phone, "sim/control" in its folder, mode 0600: one JSON object a
// line. A caller sends one request; the phone sends replies and closes the connection after the last one.
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

namespace atd {

// Where the control socket is in the phone's folder.
inline constexpr char kControlSocket[] = "/sim/control";

// Bytes that the line of a request may have; the phone closes the connection to a caller who sends more.
inline constexpr size_t kControlRequestMax = 16 * 1024 * 1024;

struct ControlRequest {
  std::vector<std::string> words;  // of the verb and its arguments
  bool json = false;               // output for programs
  std::string input;               // the content of the caller's file, for a verb that takes one
  bool progress = false;           // whether the caller wants to be told of it
};

struct ControlReply {
  std::string out;  // for the caller's standard output, in several replies where it is long
  bool last = false;
  int status = 0;        // of the last: the caller's exit status
  std::string error;     // of the last: for the caller's standard error, "" for none
  std::string progress;  // how far long work is, in place of what was told last; where it was asked for
};

// The line of a request or a reply, with its line end.
std::string to_line(const ControlRequest& request);
std::string to_line(const ControlReply& reply);

// Reads a line, with or without its end; false for one that makes no sense.
bool from_line(const std::string& line, ControlRequest* request);
bool from_line(const std::string& line, ControlReply* reply);

}  // namespace atd
