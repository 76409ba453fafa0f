// Shell commands and programs of the phone. Absolute paths in a command lead below the root, and the tools are those of
// the root's "system/bin"; every command is recorded as the library gave it.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace atd::sim {

class Shell {
 public:
  explicit Shell(const std::string& root) : root_(root) {}

  // Runs a command line as "sh -c" would; its wait status, or -1. A command that names ".." is refused with status 126.
  int system(const std::string& command);

  // Runs a program of the phone; its exit status, 126 for an argument with "..", or -1 when there is no such program.
  int run(const std::vector<std::string>& arguments);

  // Records what is done to the whole phone without a program, such as "sync".
  void note(const std::string& what) { record(what); }

  // The commands so far, oldest first, programs with their arguments joined by spaces.
  std::vector<std::string> history() const;

  // Puts the standard tools into "system/bin", where they are missing.
  void install_tools();

 private:
  void record(const std::string& command);

  std::string root_;
  mutable std::mutex lock_;
  std::vector<std::string> history_;
};

}  // namespace atd::sim
