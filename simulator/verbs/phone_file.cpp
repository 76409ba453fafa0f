// The phone as one file.
#include "simulator/phone_file/phone_file.h"

#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void export_to(SimulatedDevice& device, VerbCall& call) {
  if (call.count() > 1 && call[1] != "--leave-out") {
    return call.fail(kUsage, "\"" + call[1] + "\" after the file: write --leave-out, or nothing");
  }
  std::string text, error, list;
  std::vector<std::string> left_out;
  if (!export_phone(device, &text, &left_out, &error)) return call.fail(kFailed, error);
  for (const std::string& line : left_out) list += (list.empty() ? " " : "; ") + line;
  if (!left_out.empty() && call.count() == 1) {
    return call.fail(kFailed, "the phone has what cannot stand in the file; --leave-out leaves it out:" + list);
  }
  call.answer(text, {{"toml", text}, {"left_out", left_out}});
}

constexpr Verb kVerbs[] = {
    {"export", "OUTPUT|- [--leave-out]",
     "Writes what is not as on a new phone into one file, for \"atd --from\"; --leave-out leaves out what cannot stand "
     "there instead of failing.",
     export_to},
};

}  // namespace

std::span<const Verb> phone_file_rows() { return kVerbs; }

}  // namespace atd::sim
