#include <fmt/format.h>

#include "client/commands.h"
#include "client/doctor.h"
#include "client/json.h"
#include "client/output.h"

namespace atd::client {

int run_doctor(const Target& target, bool json) {
  int status = kOk;
  Failure lost;
  examine(target, [&](const Check& check) {
    if (check.state == Check::State::fail) status = kFailed;
    const std::string advice = check.advice.empty() ? "" : "; " + visible(check.advice);
    if (lost) return;
    lost = print(
        json ? check_json(check)
             : fmt::format("{:8}  {:10}  {}{}\n", to_text(check.state), check.name, visible(check.found), advice));
  });
  return worse(status, complain(lost));
}

}  // namespace atd::client
