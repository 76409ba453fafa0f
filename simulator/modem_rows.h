// The modem's text file "sim/modem.conf": rows of request and answer that win over the built-in items. The file's own
// head says how a row is written.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/settings_file.h"

namespace atd::sim {

struct ModemRow {
  enum class Match { any, exact, prefix };

  int opcode = 0;
  Match match = Match::any;
  bool text = false;  // exact: NULs at the end of the request's payload do not count
  std::string payload;
  bool fails = false;
  std::string answer;
  int status = 0;
  int delay_ms = 0;
};

// Reads one row; false with what is wrong and what would be right in *error.
bool parse_modem_row(std::string line, ModemRow* row, std::string* error);

class ModemRows {
 public:
  explicit ModemRows(const std::string& root);

  // The first row of the file, as it is now, that matches a request. Rows that make no sense are left out, and reported
  // once for each state of the file.
  std::optional<ModemRow> find(int opcode, const std::string& payload);

  // Reads, and reports, anew at the next request.
  void forget() { file_.forget(); }

 private:
  SettingsFile file_;
  std::vector<ModemRow> rows_;
};

}  // namespace atd::sim
