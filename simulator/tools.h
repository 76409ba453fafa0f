// The programs in the phone's "system/bin": scripts of the phone's own, and links to some of the desktop's programs.
#pragma once

#include <string>

namespace atd::sim {

// Which arguments of a program are places in the phone.
enum class Paths { none, followed, itself };  // itself: a link is not followed where it is a path's last part

struct Tool {
  const char* name;
  Paths paths;
  const char* letters;  // of the options that it may be given; none of these has a value, or follows a link in a walk
  const char* option;   // put before its arguments, or null
  const char* script;   // null: the desktop's program of that name
};

// The tool of a name, or null.
const Tool* find_tool(const std::string& name);

// Where the desktop has the program that a link in "system/bin" stands for; "" for a link that the phone has not made.
std::string desktop_program(const std::string& link);

// Whether a file is a script that the phone has put there and nobody has edited.
bool is_installed(const std::string& file);

// Puts the tools into "system/bin". A script that an older version has put there is replaced, but one that a person has
// written or edited stays.
void install_tools(const std::string& root);

}  // namespace atd::sim
