// The modem's text file "sim/modem.conf": rows of request and answer that win over the built-in items. The file's own
// head says how a row is written.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "desk/answer_rows.h"
#include "simulator/settings_file.h"

namespace atd::sim {

class ModemRows {
 public:
  explicit ModemRows(const std::string& root);

  // The first row of the file, as it is now, that matches a request. Rows that make no sense are left out, and reported
  // once for each state of the file.
  std::optional<AnswerRow> find(int opcode, const std::string& payload);

  // Makes the next request read the file again, and report again what is wrong in it.
  void forget() { file_.forget(); }

 private:
  SettingsFile file_;
  std::vector<AnswerRow> rows_;
};

}  // namespace atd::sim
