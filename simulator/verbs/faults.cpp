// Faults at the platform boundary.
#include "simulator/faults.h"

#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

Json to_json(const Fault& fault) {
  return {{"call", call_name(fault.call).name},
          {"object", fault.object.empty() ? Json() : Json(fault.object)},
          {"passes", fault.passes},
          {"times", fault.times < 0 ? Json() : Json(fault.times)},
          {"late_ms", fault.late_ms == 0 ? Json() : Json(fault.late_ms)},
          {"kills", fault.kills}};
}

void list(SimulatedDevice& device, VerbCall& call) {
  std::string text;
  Json faults = Json::array(), calls = Json::array();
  for (const Fault& fault : device.faults.list()) {
    text += to_text(fault) + "\n";
    faults.push_back(to_json(fault));
  }
  text += text.empty() ? "no faults are set; calls that can fail:\n" : "\ncalls that can fail:\n";
  for (const CallName& row : call_names()) {
    text += std::string("  ") + row.name + (*row.object ? " [" : "") + row.object + (*row.object ? "]\n" : "\n");
    calls.push_back({{"call", row.name}, {"object", *row.object ? Json(row.object) : Json()}});
  }
  call.answer(text, {{"faults", faults}, {"calls", calls}});
}

// False, and the call has failed, for words that make no fault.
bool read(VerbCall& call, Fault* fault) {
  std::vector<std::string> words;
  for (size_t i = 0; i < call.count(); ++i) words.push_back(call[i]);
  const std::string wrong = parse_fault(words, fault);
  if (!wrong.empty()) call.fail(kUsage, wrong);
  return wrong.empty();
}

void set(SimulatedDevice& device, VerbCall& call) {
  if (Fault fault; read(call, &fault)) device.faults.set(fault);
}

void clear(SimulatedDevice& device, VerbCall& call) {
  if (call.count() == 0) return device.faults.clear();
  if (Fault which; read(call, &which)) device.faults.clear(which.call, which.object);
}

constexpr Verb kVerbs[] = {
    {"fault list", "", "Shows the faults that are set, and the calls that can fail.", list},
    {"fault set", "CALL [OBJECT] [nth=N] [times=N] [late=MILLISECONDS] [kill]",
     "Makes a call fail, come late or kill the daemon: \"set_ftm_item 13\" fails every write of item 13.", set},
    {"fault clear", "[CALL [OBJECT]]", "Takes the faults of a call back, or all.", clear},
};

}  // namespace

std::span<const Verb> fault_rows() { return kVerbs; }

}  // namespace atd::sim
