#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <vector>

#include "client/commands.h"
#include "client/json.h"

namespace atd::client {
namespace {

using Cells = std::array<std::string, 6>;

std::string effects_text(unsigned effects) {
  std::string text = effects & kDestructive ? "destructive" : "";
  if (effects & kModem) text += text.empty() ? "modem" : ", modem";
  return text.empty() ? "-" : text;
}

bool is_colourful() {
  const char* no_color = getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) != 0 && (no_color == nullptr || *no_color == '\0');
}

}  // namespace

int run_ops(bool json) {
  std::string out;
  if (json) {
    for (const Opcode& row : opcodes()) out += (out.empty() ? "[" : " ,") + opcode_json(row);
    print(out.empty() ? "[]\n" : out + "]\n");
    return kOk;
  }
  std::vector<Cells> lines = {{"NUMBER", "NAME", "PAYLOAD", "ANSWER", "EFFECTS", "STATE"}};
  std::array<int, 3> counts = {};  // by State
  for (const Opcode& row : opcodes()) {
    lines.push_back({std::to_string(row.number), row.name, to_text(row.payload), to_text(row.answer),
                     effects_text(row.effects), to_text(row.state)});
    ++counts[static_cast<size_t>(row.state)];
  }
  std::array<size_t, 6> widths = {};
  for (const Cells& cells : lines) {
    for (size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], cells[i].size());
  }
  bool colourful = is_colourful();
  for (size_t n = 0; n < lines.size(); ++n) {
    bool missing = n > 0 && opcodes()[n - 1].state == State::not_built;
    std::string text = missing ? "! " : "  ";
    for (size_t i = 0; i < lines[n].size(); ++i) {
      std::string padding(widths[i] - lines[n][i].size(), ' ');
      bool right = i == 0;
      bool last = i + 1 == lines[n].size();
      text += (right ? padding : "") + lines[n][i] + (last ? "" : (right ? "" : padding) + "  ");
    }
    out += missing && colourful ? "\033[33m" + text + "\033[0m\n" : text + "\n";
  }
  auto count = [&](State state) { return std::to_string(counts[static_cast<size_t>(state)]); };
  out += std::to_string(opcodes().size()) + " opcodes: " + count(State::built) + " built, " +
         count(State::unsupported) + " not supported, " + count(State::not_built) + " not built (!)\n";
  print(out);
  return kOk;
}

}  // namespace atd::client
