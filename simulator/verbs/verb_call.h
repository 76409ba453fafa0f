// One use of a verb: what the caller gave, and what is told to the caller.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "desk/control.h"

namespace atd::sim {

using Json = nlohmann::ordered_json;

// Exit statuses of a caller.
inline constexpr int kFailed = 1;
inline constexpr int kUsage = 64;

class VerbCall {
 public:
  // Hands every reply but the last to `send`, which says whether the caller is still there.
  VerbCall(std::vector<std::string> arguments, const ControlRequest& request,
           std::function<bool(const ControlReply& reply)> send)
      : arguments_(std::move(arguments)),
        json_(request.json),
        progress_(request.progress),
        input_(request.input),
        send_(std::move(send)) {}

  // The content of the caller's file.
  const std::string& input() const { return input_; }

  // Whether the answer is shown as JSON.
  bool is_for_programs() const { return json_; }

  // The arguments; "" for one that was not given.
  size_t count() const { return arguments_.size(); }
  const std::string& operator[](size_t i) const;

  // The arguments from the first to that before the end, or all from the i-th on, with spaces between them.
  std::string words(size_t first, size_t end) const;
  std::string rest(size_t i) const { return words(i, count()); }

  // Reads the i-th argument as a whole number; when it is not one from lowest to highest, fails the call and returns
  // false. `what` names it: "the opcode".
  bool number(size_t i, const char* what, long long lowest, long long highest, int* value);

  // Reads the i-th argument, a time in milliseconds, or "never", which is -1; what is neither fails the call.
  bool delay(size_t i, int* milliseconds);

  // Gives an answer: the text for a person, the JSON for a program. False when the caller is gone.
  bool answer(const std::string& text, const Json& json);

  // Whether the caller wants to be told how far long work is, and tells it.
  bool wants_progress() const { return progress_; }
  void tell_progress(const std::string& text) { send_({.progress = text}); }

  // Whether the caller is still there.
  bool is_heard() { return send_({}); }

  // Ends the call with an exit status and a sentence that says what to do. The first failure counts.
  void fail(int status, const std::string& error);

  // Sets what is done after the caller has been told that all is well.
  void afterwards(std::function<void()> action) { afterwards_ = std::move(action); }

  // Sends the last reply, then does what `afterwards` has set.
  void end();

 private:
  std::vector<std::string> arguments_;
  bool json_, progress_;
  std::string input_;
  std::function<bool(const ControlReply&)> send_;
  ControlReply last_ = {.last = true};
  std::function<void()> afterwards_;
};

// Lines of cells as a table, each column as wide as its widest cell; the first line is the head.
std::string table(const std::vector<std::vector<std::string>>& lines);

}  // namespace atd::sim
