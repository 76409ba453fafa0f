#include <fmt/format.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

#include "client/commands.h"
#include "client/json.h"
#include "desk/words.h"

namespace atd::client {
namespace {

constexpr size_t kEffects = 5, kSummary = 6;  // the cells that a narrow terminal gets in a line of their own
constexpr size_t kGap = 2;                    // between columns
using Cells = std::array<std::string, kSummary + 1>;

std::string effects_text(unsigned effects) {
  std::string text = effects & kDestructive ? "destructive" : "";
  if (effects & kModem) text += text.empty() ? "modem" : ", modem";
  return text.empty() ? "-" : text;
}

// Columns of the terminal on standard output, 0 when that is not a terminal.
size_t terminal_columns() {
  winsize size;
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col == 0 ? 80 : size.ws_col;
}

}  // namespace

std::string ops_text(size_t columns, bool colourful) {
  std::vector<Cells> lines = {{"OPCODE", "NAME", "PAYLOAD", "ANSWER", "STATE", "EFFECTS", "DESCRIPTION"}};
  std::array<int, 3> counts = {};  // by State
  for (const Opcode& row : opcodes()) {
    lines.push_back({std::to_string(row.number), row.name, to_text(row.payload), to_text(row.answer),
                     to_text(row.state), effects_text(row.effects), row.summary});
    ++counts[static_cast<size_t>(row.state)];
  }
  std::array<size_t, kSummary + 1> widths = {};
  for (const Cells& cells : lines) {
    for (size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], cells[i].size());
  }
  const bool wide = columns == 0 || std::accumulate(widths.begin(), widths.end(), kGap * widths.size()) <= columns;
  std::string out;
  for (size_t n = 0; n < lines.size(); ++n) {
    const Cells& cells = lines[n];
    const bool missing = n > 0 && opcodes()[n - 1].state == State::not_built;
    std::string text = fmt::format("{} {:>{}}", missing ? '!' : ' ', cells[0], widths[0]);
    const size_t last = wide ? kSummary : kEffects - 1;
    for (size_t i = 1; i <= last; ++i) text += fmt::format("  {:{}}", cells[i], i < last ? widths[i] : 0);
    if (!wide && n > 0) {
      const size_t indent = widths[0] + 2 * kGap;
      const std::string effects = cells[kEffects] == "-" ? "" : fmt::format(" ({})", cells[kEffects]);
      text += '\n' + std::string(indent, ' ') + wrapped(cells[kSummary] + effects, indent, columns);
      text.pop_back();
    }
    out += missing && colourful ? "\033[33m" + text + "\033[0m\n" : text + "\n";
  }
  auto count = [&](State state) { return counts[static_cast<size_t>(state)]; };
  return out + fmt::format("{} opcodes: {} built, {} not supported, {} not built (!)\n", opcodes().size(),
                           count(State::built), count(State::unsupported), count(State::not_built));
}

int run_ops(bool json) {
  if (!json) {
    const size_t columns = terminal_columns();
    const char* no_color = getenv("NO_COLOR");
    return complain(print(ops_text(columns, columns != 0 && (no_color == nullptr || *no_color == '\0'))));
  }
  std::string out;
  for (const Opcode& row : opcodes()) out += (out.empty() ? "[" : " ,") + opcode_json(row);
  return complain(print(out.empty() ? "[]\n" : out + "]\n"));
}

}  // namespace atd::client
