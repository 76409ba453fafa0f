// The phone's programs.
#include <unistd.h>

#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void set_exit(SimulatedDevice& device, VerbCall& call) {
  int status = -1;
  const std::string name = call[0].substr(call[0].rfind('/') + 1);
  if (access((device.root() + "/system/bin/" + name).c_str(), F_OK) != 0) {
    return call.fail(kUsage, "the phone has no program \"" + name + "\"; see system/bin in its folder");
  }
  if (call.count() == 1 || call.number(1, "the exit status", 0, 255, &status)) {
    device.shell.set_exit(name, status);
  }
}

void history(SimulatedDevice& device, VerbCall& call) {
  std::string text;
  Json json = Json::array();
  for (const std::string& command : device.shell.history()) {
    text += command + "\n";
    json.push_back(command);
  }
  call.answer(text, json);
}

constexpr Verb kVerbs[] = {
    {"program exit", "NAME [STATUS]",
     "Makes a program do nothing but end with this exit status (\"program exit pm 1\"); without one it runs again, and "
     "when the daemon ends.",
     set_exit},
    {"program history", "", "Shows the commands that the daemon has run, oldest first.", history, Masks::all},
};

}  // namespace

std::span<const Verb> program_rows() { return kVerbs; }

}  // namespace atd::sim
