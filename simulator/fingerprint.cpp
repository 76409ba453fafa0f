#include "simulator/fingerprint.h"

#include <algorithm>
#include <sstream>

#include "desk/nearest.h"
#include "desk/words.h"
#include "simulator/files.h"

namespace atd::sim {

namespace {

// Takes a line TEST PASS RESULT; *test is "" for a comment. False for one that makes no sense.
bool parse_line(std::string_view line, std::string* test, FpTestResult* verdict) {
  test->clear();
  if (is_comment(line)) return true;
  const auto& tests = Fingerprint::tests();
  *test = take_word(&line);
  return std::find(tests.begin(), tests.end(), *test) != tests.end() &&
         read_number(take_word(&line), 0, 1, &verdict->isPass) &&
         read_number(take_word(&line), INT32_MIN, INT32_MAX, &verdict->result) && is_comment(line);
}

}  // namespace

Fingerprint::Fingerprint(const std::string& root) : file_(root + "/sim/fingerprint") {}

const std::vector<std::string>& Fingerprint::tests() {
  static const std::vector<std::string> names = {"spi", "zone", "checkerboard", "rubberstamp"};
  return names;
}

std::string Fingerprint::wrong(const std::string& line) {
  std::string test;
  FpTestResult ignored;
  if (parse_line(line, &test, &ignored)) return "";
  return "\"" + line + "\" is no TEST PASS RESULT, such as zone 0 -3; the tests are " + listed(tests());
}

FpTestResult Fingerprint::verdict(const std::string& test) const {
  std::string text, name;
  read_file(file_, &text);
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    FpTestResult found;
    if (parse_line(line, &name, &found) && name == test) return found;
  }
  return {1, 0};
}

bool Fingerprint::set(const std::string& test, const FpTestResult& verdict) {
  std::lock_guard guard(lock_);
  std::ostringstream text;
  for (const std::string& name : tests()) {
    const FpTestResult found = name == test ? verdict : this->verdict(name);
    text << name << ' ' << found.isPass << ' ' << found.result << '\n';
  }
  return write_file(file_, text.str());
}

}  // namespace atd::sim
