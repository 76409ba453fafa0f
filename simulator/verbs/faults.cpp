// Faults at the platform boundary.
#include "simulator/faults.h"

#include "desk/nearest.h"
#include "desk/words.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

bool named(VerbCall& call, const std::string& name, Call* found) {
  std::vector<std::string> names;
  for (const CallName& row : call_names()) {
    if (name == row.name) {
      *found = row.call;
      return true;
    }
    names.push_back(row.name);
  }
  call.fail(kUsage, "no call is named \"" + name + "\"; nearest: " + listed(nearest(name, names, 3)) +
                        "; \"fault list\" shows all");
  return false;
}

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

// Reads "nth=N", "times=N", "late=MILLISECONDS" or "kill"; false for another word or a wrong number.
bool take_option(const std::string& word, Fault* fault) {
  if (word == "kill") return fault->kills = true;
  const size_t equals = word.find('=');
  if (equals == word.npos) return false;
  const std::string name = word.substr(0, equals), value = word.substr(equals + 1);
  if (name == "late") return read_number(value, 1, 86400000, &fault->late_ms);
  if (name == "times") return read_number(value, 1, INT32_MAX, &fault->times);
  if (name != "nth" || !read_number(value, 1, INT32_MAX, &fault->passes)) return false;
  --fault->passes;
  if (fault->times < 0) fault->times = 1;
  return true;
}

void set(SimulatedDevice& device, VerbCall& call) {
  Fault fault;
  if (!named(call, call[0], &fault.call)) return;
  for (size_t i = 1; i < call.count(); ++i) {
    if (take_option(call[i], &fault)) continue;
    if (i > 1 || call[i].find('=') != std::string::npos) {
      return call.fail(kUsage, "\"" + call[i] + "\" after the call: write nth=N, times=N, late=MILLISECONDS or kill");
    }
    fault.object = call[i];
  }
  device.faults.set(fault);
}

void clear(SimulatedDevice& device, VerbCall& call) {
  Call which;
  if (call.count() == 0) device.faults.clear();
  else if (named(call, call[0], &which)) device.faults.clear(which, call[1]);
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
