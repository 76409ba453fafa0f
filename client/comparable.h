// Messages as a replay compares them: records are decoded, and what differs from run to run is masked.
#pragma once

#include <regex.h>

#include <string>
#include <vector>

#include "client/failure.h"
#include "desk/framing.h"
#include "desk/message.h"

namespace atd::client {

struct Comparable {
  std::string key;  // equal for messages that say the same
  Message message;
};

// The whole message for people, in one line.
std::string full_text(const Message& message);

class Masks {
 public:
  // Masks dates such as 2026-01-31 and clock times such as 13:05:00.1.
  Masks();
  ~Masks();
  Masks(const Masks&) = delete;
  Masks& operator=(const Masks&) = delete;

  // Also masks what an extended regular expression matches; kUsage with the reason when it is not one.
  Failure add(const std::string& pattern);

  // The message, with the masks applied to its text or to the data of its record.
  Comparable apply(const Message& message) const;

 private:
  struct Mask {
    regex_t regex;
    int group;  // of the expression, the part to mask; 0 for the whole
  };

  Failure add(const char* pattern, int group);

  std::vector<Mask> masks_;
};

}  // namespace atd::client
