#include "simulator/modem/rows.h"

#include <sstream>

namespace atd::sim {

namespace {

constexpr const char* kExamples =
    "\n"
    "Examples; take the first \"#\" away to use one.\n"
    "117 *     \"490154203237518\"   # an IMEI that no write changes\n"
    "210 *     \"0PA not found\"     # the RF device check finds a fault\n"
    "20  \"30\"  \"FAIL\" status=7     # no camping on one band\n"
    "116 \"35\"* \"IMEI WRITE FAIL\"   # no IMEI that begins with 35\n"
    "202 *     fail                # the product ID cannot be read\n"
    "200 *     hex:00 delay=12000  # a slow file-system sync\n";

// The file of a new phone: how a row is written, and some to try, all of them comments.
std::string standard() {
  std::istringstream help(
      "What the simulated modem answers. A row here wins over the modem's built-in items; the first one that\n"
      "matches counts. Edit this file while the phone runs: the next request sees it. A row that makes no sense\n"
      "is left out and named in the main log.\n\n" +
      answer_row_help(RowsOf::modem) + kExamples);
  std::string text;
  for (std::string line; std::getline(help, line);) text += line.empty() ? "#\n" : "# " + line + "\n";
  return text;
}

}  // namespace

ModemRows::ModemRows(const std::string& root) : file_(root, "sim/modem.conf", "modem", standard()) {}

std::optional<AnswerRow> ModemRows::find(int opcode, const std::string& payload) {
  std::vector<SettingsLine> lines;
  if (file_.changed(&lines)) {
    rows_.clear();
    for (const SettingsLine& line : lines) {
      AnswerRow row;
      const std::string wrong = parse_answer_row(line.text, RowsOf::modem, &row);
      if (wrong.empty()) rows_.push_back(row);
      else file_.report(line.number, wrong);
    }
  }
  for (const AnswerRow& row : rows_) {
    if (matches(row, opcode, payload)) return row;
  }
  return std::nullopt;
}

}  // namespace atd::sim
