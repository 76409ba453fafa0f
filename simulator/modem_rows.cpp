#include "simulator/modem_rows.h"

#include <limits.h>

#include <algorithm>
#include <string_view>

#include "transport/records.h"

namespace atd::sim {

namespace {

// The opcodes that are routed to the modem.
constexpr int kLastOpcode = 971;

constexpr const char* kStandard =
    "# What the simulated modem answers. A row here wins over the modem's built-in items; the first one that\n"
    "# matches counts. Edit this file while the phone runs: the next request sees it. A row that makes no sense\n"
    "# is left out and named in the main log.\n"
    "#\n"
    "#   OPCODE PAYLOAD ANSWER [status=N] [delay=MS]\n"
    "#\n"
    "# OPCODE   0 to 971\n"
    "# PAYLOAD  *           any payload\n"
    "#          \"text\"      this text; NULs after it do not count\n"
    "#          hex:0a1b    these bytes\n"
    "#          \"text\"*     what begins with this text; hex:0a1b* likewise\n"
    "# ANSWER   \"text\"      this text, at most 2048 bytes; \"\" for an empty answer\n"
    "#          hex:0a1b    these bytes\n"
    "#          fail        no answer: the request fails\n"
    "# status=N             the answer's result_status, 0 where none is given\n"
    "# delay=MS             milliseconds before the answer\n"
    "# What follows a \"#\" behind the answer is a comment.\n"
    "#\n"
    "# In a text \\\" \\\\ \\n \\r \\t and \\x1f stand for a quote, a backslash, the control characters and a byte.\n"
    "#\n"
    "# Examples; take the first \"#\" away to use one.\n"
    "# 117 *     \"490154203237518\"   # an IMEI that no write changes\n"
    "# 210 *     \"0PA not found\"     # the RF device check finds a fault\n"
    "# 20  \"30\"  \"FAIL\" status=7     # no camping on one band\n"
    "# 116 \"35\"* \"IMEI WRITE FAIL\"   # no IMEI that begins with 35\n"
    "# 202 *     fail                # the product ID cannot be read\n"
    "# 200 *     hex:00 delay=12000  # a slow file-system sync\n";

int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool take_hex_byte(std::string_view* rest, std::string* bytes) {
  if (rest->size() < 2) return false;
  const int high = hex_digit((*rest)[0]), low = hex_digit((*rest)[1]);
  if (high < 0 || low < 0) return false;
  *bytes += static_cast<char>(high * 16 + low);
  rest->remove_prefix(2);
  return true;
}

// The text behind an opening quote, up to and with the closing one.
bool take_quoted(std::string_view* rest, std::string* bytes) {
  while (!rest->empty()) {
    char c = rest->front();
    rest->remove_prefix(1);
    if (c == '"') return true;
    if (c == '\\') {
      if (rest->empty()) return false;
      c = rest->front();
      rest->remove_prefix(1);
      if (c == 'x') {
        if (!take_hex_byte(rest, bytes)) return false;
        continue;
      }
      constexpr std::string_view kNames = "\"\\nrt", kMeanings = "\"\\\n\r\t";
      const size_t which = kNames.find(c);
      if (which == std::string_view::npos) return false;
      c = kMeanings[which];
    }
    *bytes += c;
  }
  return false;
}

// "text" or hex:0a1b.
bool take_bytes(std::string_view* rest, std::string* bytes, bool* text) {
  bytes->clear();
  *text = rest->starts_with('"');
  if (*text) {
    rest->remove_prefix(1);
    return take_quoted(rest, bytes);
  }
  if (!rest->starts_with("hex:")) return false;
  rest->remove_prefix(4);
  while (take_hex_byte(rest, bytes)) {
  }
  return true;
}

void skip_blanks(std::string_view* rest) {
  rest->remove_prefix(std::min(rest->find_first_not_of(" \t\r"), rest->size()));
}

bool at_blank(std::string_view rest) { return rest.empty() || rest[0] == ' ' || rest[0] == '\t' || rest[0] == '\r'; }

bool take_payload(std::string_view* rest, ModemRow* row) {
  skip_blanks(rest);
  row->match = ModemRow::Match::any;
  if (!rest->starts_with('*')) {
    row->match = ModemRow::Match::exact;
    if (!take_bytes(rest, &row->payload, &row->text)) return false;
    if (!rest->starts_with('*')) return at_blank(*rest);
    row->match = ModemRow::Match::prefix;
  }
  rest->remove_prefix(1);
  return at_blank(*rest);
}

bool take_answer(std::string_view* rest, ModemRow* row) {
  skip_blanks(rest);
  row->fails = rest->starts_with("fail");
  if (row->fails) {
    rest->remove_prefix(4);
  } else {
    bool text;
    if (!take_bytes(rest, &row->answer, &text)) return false;
  }
  return at_blank(*rest);
}

bool read_option(const std::string& word, ModemRow* row) {
  if (word.starts_with("status=")) return read_number(word.substr(7), INT_MIN, INT_MAX, &row->status);
  return word.starts_with("delay=") && read_number(word.substr(6), 0, INT_MAX, &row->delay_ms);
}

bool matches(const ModemRow& row, std::string_view payload) {
  if (row.match == ModemRow::Match::any) return true;
  if (row.match == ModemRow::Match::prefix) return payload.starts_with(row.payload);
  if (!payload.starts_with(row.payload)) return false;
  payload.remove_prefix(row.payload.size());
  return payload.empty() || (row.text && payload.find_first_not_of('\0') == std::string_view::npos);
}

}  // namespace

bool parse_modem_row(std::string line, ModemRow* row, std::string* error) {
  *row = {};
  const std::string opcode = take_word(&line);
  if (!read_number(opcode, 0, kLastOpcode, &row->opcode)) {
    *error = "'" + opcode + "' is no opcode of the modem: write a number from 0 to 971";
    return false;
  }
  std::string_view rest = line;
  if (!take_payload(&rest, row)) {
    *error = "no payload after the opcode: write *, \"text\", \"begins so\"*, hex:0a1b or hex:0a1b*";
    return false;
  }
  if (!take_answer(&rest, row)) {
    *error = "no answer after the payload: write \"text\", hex:0a1b or fail";
    return false;
  }
  if (row->answer.size() > MAX_RZCMD_REQ_SIZE) {
    *error = "an answer of " + std::to_string(row->answer.size()) + " bytes: write at most 2048";
    return false;
  }
  std::string options(rest);
  for (std::string word; !(word = take_word(&options)).empty() && word[0] != '#';) {
    if (read_option(word, row)) continue;
    *error = "'" + word + "' after the answer: write status=NUMBER, delay=MILLISECONDS or nothing";
    return false;
  }
  return true;
}

ModemRows::ModemRows(const std::string& root) : file_(root, "sim/modem.conf", "modem", kStandard) {}

std::optional<ModemRow> ModemRows::find(int opcode, const std::string& payload) {
  std::vector<SettingsLine> lines;
  if (file_.changed(&lines)) {
    rows_.clear();
    for (const SettingsLine& line : lines) {
      ModemRow row;
      std::string error;
      if (parse_modem_row(line.text, &row, &error)) rows_.push_back(row);
      else file_.report(line.number, error);
    }
  }
  for (const ModemRow& row : rows_) {
    if (row.opcode == opcode && matches(row, payload)) return row;
  }
  return std::nullopt;
}

}  // namespace atd::sim
