// The library's functions by name.
#include <string>
#include <vector>

#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void run(SimulatedDevice& device, VerbCall& call) {
  if (!device.host.call) return call.fail(kFailed, "the program that runs this phone has no calls");
  std::vector<std::string> words;
  for (size_t i = 0; i < call.count(); ++i) words.push_back(call[i]);
  const HostAnswer answer = device.host.call(words);
  if (!call.answer(answer.text, Json::parse(answer.json))) {
    return call.fail(kFailed, "the function has ended, but the phone is going away: " + answer.text);
  }
  // A program has the sentence in the JSON.
  if (answer.status != 0) call.fail(answer.status, call.is_for_programs() ? "" : answer.error);
}

constexpr Verb kVerbs[] = {
    {"call", "[--yes] [NAME [ARGUMENT...]]", "Calls a function of the library, or shows those that can be called.",
     run},
};

}  // namespace

std::span<const Verb> call_rows() { return kVerbs; }

}  // namespace atd::sim
