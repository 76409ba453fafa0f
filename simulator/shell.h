// Shell commands and programs of the phone. There is no shell behind them: a command is words, quotes, patterns and one
// ">" (simulator/command_line.h). What is a path in the phone leads below the root, also through links, and the tools
// are those of the root's "system/bin"; every command is recorded as the library gave it.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "simulator/tools.h"

namespace atd::sim {

class Shell {
 public:
  explicit Shell(const std::string& root) : root_(root) {}

  // Runs a command line and gives its wait status, as "sh -c" does: status 127 where there is no such program, 126
  // where it is not one, 1 for an output that cannot be written, and 2, with an error in the main log, for a command
  // that is more than the shell knows or has a word that is refused. -1 when no process could be started.
  int system(const std::string& command);

  // Runs a program of the phone until it ends or is stopped; its wait status, -1 with errno when no process could be
  // started, or kNotExecuted (platform/os.h) with errno where there is no such program, it is not one, or it has an
  // argument that is refused. A program that is stopped is then killed.
  int run(const std::vector<std::string>& arguments);

  // Has this called after the program am has broadcast the master clear.
  void on_master_clear(std::function<void()> wipe) { master_clear_ = std::move(wipe); }

  // Has this called in place of the phone's own program screencap, with its arguments, whose paths are the desktop's,
  // and its standard output, or -1. It gives the exit status.
  void on_screencap(std::function<int(const std::vector<std::string>& arguments, int output)> screencap) {
    screencap_ = std::move(screencap);
  }

  // Makes a program do nothing but end with this exit status, -1 for running again.
  void set_exit(const std::string& program, int status);

  // Records what is done to the whole phone without a program, such as "sync".
  void note(const std::string& what) { record(what); }

  // The last 1000 commands, oldest first, programs with their arguments joined by spaces.
  std::vector<std::string> history() const;

 private:
  void record(const std::string& command);
  std::string program(const std::string& name, int* status) const;
  bool map(const std::string& word, const Tool* tool, std::string* mapped, std::string* error) const;
  bool start(const std::string& command, const std::vector<std::string>& words, int output, int* status);

  std::string root_;
  std::function<void()> master_clear_ = [] {};
  std::function<int(const std::vector<std::string>&, int)> screencap_;
  mutable std::mutex lock_;
  std::deque<std::string> history_;
  std::map<std::string, int> exits_;  // of the programs that do not run
};

}  // namespace atd::sim
