#include <fmt/format.h>

#include <algorithm>

#include "client/arguments.h"
#include "client/commands.h"
#include "client/input.h"
#include "client/json.h"
#include "platform/records.h"

namespace atd::client {
namespace {

std::string with_line_number(int number, const std::string& lines) {
  std::string numbered;
  for (size_t at = 0; at < lines.size();) {
    size_t end = std::min(lines.find('\n', at), lines.size() - 1) + 1;
    numbered += fmt::format("{}: {}", number, lines.substr(at, end - at));
    at = end;
  }
  return numbered;
}

// Runs one line of a batch. When the daemon went away the connection is closed.
Failure ask_line(Connection& connection, const Target& target, const std::string& line, int32_t* opcode,
                 Response* response) {
  std::string payload;
  Failure failure = parse_request(line, opcode, &payload);
  if (failure) return failure;
  failure = ask(connection, target, *opcode, payload, in_seconds(target.timeout), response);
  if (failure.status == kNoDaemon) connection.close();
  return failure;
}

int run_lines(const Target& target, const std::string& file, int fd, bool json) {
  Connection connection;
  Failure unreachable = connect(connection, target, in_seconds(target.timeout));
  if (unreachable) return complain(unreachable);

  int status = kOk;
  int number = 0;
  std::string line;
  InputLines input(fd);
  while (input.take(&line)) {
    ++number;
    if (line.ends_with('\r')) line.pop_back();
    size_t begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos || line[begin] == '#') continue;
    // The request before may have restarted the phone, and the daemon comes back with it.
    if (connection.is_open() && connection.settle(in_seconds(target.timeout)) == Wait::gone) connection.close();
    if (!connection.is_open()) {
      unreachable = connect(connection, target, in_seconds(target.timeout), true);
      if (unreachable) {
        unreachable.text = fmt::format("line {} and those after it are not sent: {}", number, unreachable.text);
        return worse(status, complain(unreachable));
      }
    }
    int32_t opcode = 0;
    Response response;
    Failure lost, failure = ask_line(connection, target, line, &opcode, &response);
    if (!failure) {
      lost =
          print(json ? answer_json(number, opcode, response) : with_line_number(number, answer_text(opcode, response)));
      failure.status = result_status(response.result);
    } else if (json) {
      lost = print(failure_json(number, line, failure.status, failure.text));
    } else {
      complain({failure.status, fmt::format("line {}: {}", number, failure.text)});
    }
    status = worse(status, failure.status);
    if (lost) return complain(lost);
  }
  return input.error() == 0 ? status : worse(status, complain(file_failure(file, input.error())));
}

}  // namespace

int run_request(const Target& target, const RequestArguments& arguments) {
  int32_t opcode = 0;
  std::string payload;
  Failure failure = parse_opcode(arguments.opcode, &opcode);
  if (!failure && arguments.has_hex) failure = parse_hex(arguments.hex, &payload);
  if (!failure && arguments.has_file) failure = read_file(arguments.file, MAX_RZCMD_REQ_SIZE, &payload);
  if (!failure && arguments.has_text) failure = parse_text(arguments.text, &payload);
  const Given given = arguments.has_text                        ? Given::text
                      : arguments.has_hex || arguments.has_file ? Given::bytes
                      : arguments.read                          ? Given::reading
                                                                : Given::nothing;
  if (!failure) failure = check_payload(opcode, given, payload);
  Connection connection;
  Response response;
  Deadline deadline = in_seconds(target.timeout);
  if (!failure) failure = connect(connection, target, deadline);
  if (!failure) failure = ask(connection, target, opcode, payload, deadline, &response);
  if (failure) return complain(failure);
  failure = print(arguments.json ? answer_json(0, opcode, response) : answer_text(opcode, response));
  return worse(complain(failure), result_status(response.result));
}

int run_batch(const Target& target, const std::string& file, bool json) {
  const InputFile input(file);
  return input.failure() ? complain(input.failure()) : run_lines(target, file, input.fd(), json);
}

}  // namespace atd::client
