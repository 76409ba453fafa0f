// What a bring-up engineer checks first, each check with what it found and what to do.
#pragma once

#include <functional>
#include <span>
#include <string>

#include "client/exchange.h"

namespace atd::client {

struct Check {
  enum class State { ok, fail, not_seen };

  const char* name;  // of what is checked, one word
  State state;
  std::string found;
  std::string advice;  // what to do, "" where all is well
};

// "ok", "fail", "not seen".
const char* to_text(Check::State state);

// Runs all checks, the short ones first, and hands each to `tell` when it is done. None waits longer than the target's
// time-out. They change nothing on the phone.
void examine(const Target& target, const std::function<void(const Check&)>& tell);

enum NodeUse : unsigned { kRead = 1, kWritten = 2 };

// A node or partition that the library opens. "%" and the letter after it stand for a number or a name.
struct PortingNode {
  const char* path;
  unsigned use;  // of NodeUse, 0 where only some phones have the node; it is then checked for reading
};

// Those of the tables in docs/porting.md.
std::span<const PortingNode> porting_nodes();

// Checks whether the nodes are below the phone's folder, "" on a phone, and whether they may be read and written. What
// is closed to the caller is a failure where he may do as much as the daemon.
void examine_nodes(const std::string& folder, bool is_as_daemon, const std::function<void(const Check&)>& tell);

}  // namespace atd::client
