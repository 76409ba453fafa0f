// The parameters of a call: what its caller gives, and what the function tells.
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

#include "daemon/calls.h"
#include "daemon/calls/row.h"

namespace atd {

// A parameter as its row names it.
struct Parameter {
  std::string text;
  size_t index = 0;      // among the function's parameters
  bool given = false;    // by the caller
  bool counted = false;  // the next parameter is its length
  bool binary = false;   // shown in hex, and given whole
  size_t size = 0;       // 0 for none
};

// The parameters that the row of a call names, in their order.
std::vector<Parameter> parameters_of(const Call& call);

// Takes a word of the caller's; "" or what is wrong with it, to stand after the parameter's name.
std::string take(const std::string& word, const ParameterType& type, const Parameter& parameter, Slot* slot);

// What the caller is to write.
std::string wanted(const ParameterType& type, const Parameter& parameter);

// What the function tells.
std::string told(const ParameterType& type, const Parameter& parameter);

// Appends what the function has told to both forms of the answer; `length` is where it put the length, or null.
void tell(const ParameterType& type, const Parameter& parameter, const Slot& slot, const Slot* length,
          CallAnswer* answer);

}  // namespace atd
