// What a person does by calls, function by function, as a table that tests/calls_test.cpp plays.
#pragma once

#include <vector>

namespace atd {

// A call, or with ":" a verb of the phone. A "~" is a blank in a word. `says` is the whole output with ";" for line
// ends, or with "*" a part of output and error. `effect` is "VERB = PART OF ITS OUTPUT", "/PATH = ITS CONTENT" or
// "log = TEXT".
struct CallStep {
  const char* words;
  int status;
  const char* says;
  const char* effect = "";
};

struct CallStory {
  const char* name;
  std::vector<CallStep> steps;
  bool platform = false;  // one that answers each request with result 0 and the text "yes"
};

// Each is played on a phone of its own.
const std::vector<CallStory>& call_stories();

}  // namespace atd
