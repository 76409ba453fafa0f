// The fingerprint sensor.
#include "simulator/fingerprint.h"

#include <errno.h>
#include <string.h>

#include <algorithm>

#include "desk/nearest.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void show(SimulatedDevice& device, VerbCall& call) {
  std::vector<std::vector<std::string>> lines = {{"TEST", "PASS", "RESULT"}};
  Json json = Json::array();
  for (const std::string& test : Fingerprint::tests()) {
    const FpTestResult found = device.fingerprint.verdict(test);
    lines.push_back({test, std::to_string(found.isPass), std::to_string(found.result)});
    json.push_back({{"test", test}, {"pass", found.isPass}, {"result", found.result}});
  }
  call.answer(table(lines), json);
}

void set(SimulatedDevice& device, VerbCall& call) {
  const auto& tests = Fingerprint::tests();
  if (std::find(tests.begin(), tests.end(), call[0]) == tests.end()) {
    return call.fail(kUsage, "no test is named \"" + call[0] + "\"; write " + listed(tests));
  }
  FpTestResult found = {};
  if (!call.number(1, "the pass", 0, 1, &found.isPass)) return;
  if (!call.number(2, "the result", INT32_MIN, INT32_MAX, &found.result)) return;
  if (!device.fingerprint.set(call[0], found)) {
    call.fail(kFailed, "cannot write sim/fingerprint: " + std::string(strerror(errno)));
  }
}

constexpr Verb kVerbs[] = {
    {"fingerprint", "", "Shows what the fingerprint sensor's tests find.", show},
    {"fingerprint set", "TEST PASS RESULT", "Makes a test find this: \"fingerprint set zone 0 -3\".", set},
};

}  // namespace

std::span<const Verb> fingerprint_rows() { return kVerbs; }

}  // namespace atd::sim
