// A batch: its lines with what they expect, what came of them, and the reports on that.
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include "client/failure.h"
#include "desk/framing.h"

namespace atd::client {

// What a line says about its answer.
struct Expected {
  std::string shown;  // as it is written, made visible
  int32_t result = 0;
  std::optional<std::string> data;
  bool is_text = true;  // NULs at the end of the answer's data do not count
};

struct BatchLine {
  int number = 0;    // in the file, 1 for the first
  std::string text;  // as it is written
  int32_t opcode = 0;
  std::string payload;
  std::optional<Expected> expected;
};

struct BatchResult {
  BatchLine line;
  bool is_sent = false;
  Failure failure;  // why there is no answer
  Response response;
  double seconds = 0;
};

// Reads a line: a request as parse_request() takes it, then if wanted the word "->", a result and a text or hex:HEX.
// Fails with kUsage.
Failure parse_batch_line(BatchLine* line);

// The exit status of a request that was sent or failed: of its failure, or of whether its answer is as expected (kOk or
// kFailed), or else of the result.
int status_of(const BatchResult& result);

// A row for every request and before them one for the columns' names; cells with commas, quotes or line ends stand in
// quotes, and rows end in CR LF.
std::string csv_report(const std::vector<BatchResult>& results);

// One test suite with a test for every request, as JUnit writes it. `name` is the suite's.
std::string junit_report(const std::string& name, const std::vector<BatchResult>& results);

}  // namespace atd::client
