// The library's functions by name.
#include <algorithm>
#include <string>
#include <vector>

#include "desk/nearest.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void list(SimulatedDevice& device, VerbCall& call) {
  std::vector<std::vector<std::string>> lines = {{"FUNCTION", "ARGUMENTS", "WHAT IT DOES"}};
  Json json = Json::array();
  for (const HostFunction& function : device.host.functions) {
    lines.push_back({function.name, function.arguments, function.summary});
    json.push_back({{"name", function.name}, {"arguments", function.arguments}, {"summary", function.summary}});
  }
  call.answer(table(lines), json);
}

void run(SimulatedDevice& device, VerbCall& call) {
  if (device.host.functions.empty()) return call.fail(kFailed, "the program that runs this phone has no calls");
  if (call.count() == 0) return list(device, call);
  std::vector<std::string> names, arguments;
  for (const HostFunction& function : device.host.functions) names.push_back(function.name);
  const auto found = std::find(names.begin(), names.end(), call[0]);
  if (found == names.end()) {
    return call.fail(kUsage, "no function is named \"" + call[0] +
                                 "\"; nearest: " + listed(nearest(call[0], names, 3)) + "; \"call\" shows all");
  }
  const HostFunction& function = device.host.functions[static_cast<size_t>(found - names.begin())];
  for (size_t i = 1; i < call.count(); ++i) arguments.push_back(call[i]);
  const auto wanted =
      function.arguments.empty() ? 0 : 1 + std::count(function.arguments.begin(), function.arguments.end(), ' ');
  if (arguments.size() != static_cast<size_t>(wanted)) {
    return call.fail(kUsage, "write: call " + function.name + (wanted ? " " : "") + function.arguments);
  }
  HostOutcome outcome;
  try {
    outcome = function.run(arguments);
  } catch (const BadArgument& bad) {
    return call.fail(kUsage, bad.what);
  }
  const std::string result = "result " + std::to_string(outcome.result);
  const bool told = call.answer(outcome.out.empty() ? result + "\n" : shown(outcome.out) + "\n" + result + "\n",
                                {{"function", function.name}, {"result", outcome.result}, {"out", outcome.out}});
  if (!told) return call.fail(kFailed, function.name + " gave " + result + ", but the phone is going away");
  if (outcome.failed) call.fail(kFailed, function.name + " says no; the phone's log may say why: atdctl phone log");
}

constexpr Verb kVerbs[] = {
    {"call", "[NAME [ARGUMENT...]]", "Calls a function of the library, or shows those that can be called.", run},
};

}  // namespace

std::span<const Verb> call_rows() { return kVerbs; }

}  // namespace atd::sim
