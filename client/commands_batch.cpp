#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "client/batch.h"
#include "client/commands.h"
#include "client/input.h"
#include "client/json.h"
#include "client/output.h"
#include "client/output_file.h"
#include "desk/words.h"

namespace atd::client {
namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";  // some editors put it before a text

// Whether both names lead to one file, which need not be there. A pipe or a device may have several uses.
bool is_same_file(const std::string& a, const std::string& b) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  if (a.empty() || b.empty()) return false;
  if (fs::exists(a, ignored) || fs::exists(b, ignored)) {
    return fs::is_regular_file(a, ignored) && fs::equivalent(a, b, ignored);
  }
  return fs::weakly_canonical(fs::absolute(a, ignored), ignored) ==
         fs::weakly_canonical(fs::absolute(b, ignored), ignored);
}

std::string with_line_number(int number, const std::string& lines) {
  std::string numbered;
  for (size_t at = 0; at < lines.size();) {
    size_t end = std::min(lines.find('\n', at), lines.size() - 1) + 1;
    numbered += fmt::format("{}: {}", number, lines.substr(at, end - at));
    at = end;
  }
  return numbered;
}

class Batch {
 public:
  Batch(const Target& target, const BatchArguments& arguments) : target_(target), arguments_(arguments) {}

  int run() {
    Failure failure = check_files();
    if (failure) return complain(failure);
    int status = read();
    if (status != kOk) return status;
    if (arguments_.dry_run) return show_requests();
    if (!arguments_.csv.empty()) failure = csv_.open(arguments_.csv);
    if (!failure && !arguments_.junit.empty()) failure = junit_.open(arguments_.junit);
    if (failure) return complain(failure);
    status = send_all();
    if (csv_.is_open()) status = worse(status, complain(csv_.write(csv_report(results_))));
    if (junit_.is_open()) status = worse(status, complain(junit_.write(junit_report(suite(), results_))));
    return status;
  }

 private:
  std::string suite() const { return arguments_.file == "-" ? "batch" : arguments_.file; }

  // Whether the batch and the two reports are three files; kUsage where they are not.
  Failure check_files() const {
    const std::string input = arguments_.file == "-" ? "/dev/stdin" : arguments_.file;
    if (is_same_file(arguments_.csv, arguments_.junit)) return {kUsage, "the two reports need a file each"};
    for (const std::string& report : {arguments_.csv, arguments_.junit}) {
      if (is_same_file(input, report)) return {kUsage, report + " is the batch itself; a report would take its place"};
    }
    return {};
  }

  // Reads all lines into results_, and complains about each that is wrong.
  int read() {
    int status = kOk;
    const Failure unread = read_lines(arguments_.file, [&](int number, std::string line) -> std::string {
      if (number == 1 && line.starts_with(kByteOrderMark)) line.erase(0, kByteOrderMark.size());
      if (line.ends_with('\r')) line.pop_back();
      if (is_comment(line)) return "";
      BatchResult result = {{number, line, 0, "", {}}, false, {}, {}, 0};
      result.failure = parse_batch_line(&result.line);
      if (result.failure) status = worse(status, tell_failure(result));
      results_.push_back(result);
      return "";
    });
    return worse(status, complain(unread));
  }

  int tell_failure(const BatchResult& result) {
    const Failure& failure = result.failure;
    if (arguments_.json) return worse(failure.status, complain(print(batch_failure_json(result))));
    return complain({failure.status, fmt::format("line {}: {}", result.line.number, failure.text)});
  }

  int show_requests() {
    std::string out;
    for (const BatchResult& result : results_) {
      const BatchLine& line = result.line;
      const std::string expected = line.expected ? " -> " + line.expected->shown : "";
      out += arguments_.json
                 ? batch_request_json(line)
                 : fmt::format("{}: {}{}\n", line.number, request_text(line.opcode, line.payload), expected);
    }
    return complain(print(out));
  }

  int send_all() {
    Failure failure = connect(connection_, target_, in_seconds(target_.timeout));
    if (failure) {
      if (!results_.empty()) results_.front().failure = failure;  // for the reports
      return complain(failure);
    }
    int status = kOk;
    for (BatchResult& result : results_) {
      const int number = result.line.number;
      // The request before may have restarted the phone, and the daemon comes back with it.
      if (connection_.is_open() && connection_.settle(in_seconds(target_.timeout)) == Wait::gone) connection_.close();
      if (!connection_.is_open()) failure = connect(connection_, target_, in_seconds(target_.timeout), true);
      if (failure) {
        result.failure = failure;
        failure.text = fmt::format("line {} and those after it are not sent: {}", number, failure.text);
        return worse(status, complain(failure));
      }
      send(result);
      const int shown = show(result);
      status = worse(status, worse(shown, status_of(result)));
      if (shown == kNoOutput) return status;
      if (status != kOk && arguments_.stop_on_error) {
        if (!arguments_.json && &result != &results_.back())
          complain({kOk, fmt::format("what follows line {} is not sent", number)});
        return status;
      }
    }
    return status;
  }

  // Sends a request. When the daemon went away the connection is closed.
  void send(BatchResult& result) {
    const auto begin = std::chrono::steady_clock::now();
    result.is_sent = true;
    result.failure = ask(connection_, target_, result.line.opcode, result.line.payload, in_seconds(target_.timeout),
                         &result.response);
    if (result.failure.status == kNoDaemon) connection_.close();
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  }

  int show(const BatchResult& result) {
    if (result.failure) return tell_failure(result);
    if (arguments_.json) return complain(print(batch_answer_json(result)));
    const BatchLine& line = result.line;
    std::string text = answer_text(line.opcode, result.response);
    if (line.expected && status_of(result) != kOk) text += "expected " + line.expected->shown + "\n";
    return complain(print(with_line_number(line.number, text)));
  }

  const Target& target_;
  const BatchArguments& arguments_;
  Connection connection_;
  OutputFile csv_, junit_;
  std::vector<BatchResult> results_;
};

}  // namespace

int run_batch(const Target& target, const BatchArguments& arguments) { return Batch(target, arguments).run(); }

}  // namespace atd::client
