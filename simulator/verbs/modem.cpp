// The modem.
#include <errno.h>
#include <string.h>

#include <mutex>

#include "desk/answer_rows.h"
#include "simulator/files.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void lose(SimulatedDevice& device, VerbCall&) { device.modem.lose_connection(); }

void fail(SimulatedDevice& device, VerbCall& call) {
  int nth = 1;
  if (call.count() == 0 || call.number(0, "which request", 1, INT32_MAX, &nth)) device.modem.fail_request(nth);
}

void delay(SimulatedDevice& device, VerbCall& call) {
  int milliseconds;
  if (call.number(0, "the delay", 0, 86400000, &milliseconds)) device.modem.set_delay(milliseconds);
}

void row(SimulatedDevice& device, VerbCall& call) {
  static std::mutex one_at_a_time;
  std::lock_guard guard(one_at_a_time);
  const std::string file = device.root() + "/sim/modem.conf";
  std::string text;
  if (!read_file(file, &text)) return call.fail(kFailed, "cannot read sim/modem.conf: " + std::string(strerror(errno)));
  AnswerRow parsed;
  const std::string line = call.rest(0), wrong = parse_answer_row(line, RowsOf::modem, &parsed);
  if (!wrong.empty()) return call.fail(kUsage, wrong + "; a row is OPCODE PAYLOAD ANSWER [status=N] [delay=MS]");
  // The first row that matches counts, so the new one goes before the others.
  size_t at = 0;
  while (at < text.size() && (text[at] == '#' || text[at] == '\n'))
    at = std::min(text.find('\n', at), text.size() - 1) + 1;
  if (!write_file(file, text.substr(0, at) + line + "\n" + text.substr(at))) {
    call.fail(kFailed, "cannot write sim/modem.conf: " + std::string(strerror(errno)));
  }
}

constexpr Verb kVerbs[] = {
    {"modem lose", "", "Breaks the connection to the modem, until the daemon opens it again.", lose},
    {"modem fail", "[N]", "Makes the modem's N-th request from now on fail; 1 is the next one.", fail},
    {"modem delay", "MILLISECONDS", "Delays every answer of the modem.", delay},
    {"modem row", "ROW...", "Adds a row to sim/modem.conf, before the others: '117 * \"490154203237518\"'.", row},
};

}  // namespace

std::span<const Verb> modem_rows() { return kVerbs; }

}  // namespace atd::sim
