#include <errno.h>
#include <time.h>

#include <algorithm>

#include "client/commands.h"
#include "client/identities.h"
#include "client/input.h"
#include "client/json.h"
#include "client/output.h"
#include "client/stop_signals.h"
#include "desk/answer_rows.h"
#include "desk/words.h"

namespace atd::client {
namespace {

class Platform {
 public:
  Platform(const Target& target, const ServeArguments& arguments, const std::vector<AnswerRow>& rows)
      : target_(target),
        arguments_(arguments),
        rows_(rows),
        signals_(arguments.count == 0),
        identities_(phone_folder(target.socket, ""), arguments.plain) {}

  int run() {
    deadline_ = in_seconds(target_.timeout);
    Failure failure = connect(connection_, target_, deadline_);
    if (!failure) failure = say(initialize_line(), deadline_);
    while (!failure && !is_done()) {
      Message message;
      Wait wait = connection_.next(&message, next_deadline(), signals_.fd());
      if (wait == Wait::woken) return kOk;
      if (wait == Wait::gone) failure = went_away(target_);
      if (wait == Wait::timed_out && !ready_ && in_seconds(0) >= deadline_) {
        failure = timed_out(target_, "no answer to \"initialize\"");
      }
      if (wait == Wait::message && message.code == kStoppedCode) return ended_early(seen_, arguments_.count);
      if (wait == Wait::message) failure = take(message);
      if (!failure) failure = send_due();
    }
    return failure.status == kStopped ? kOk : complain(failure);
  }

 private:
  struct DueAnswer {
    Deadline when;
    Response response, shown;
  };

  bool is_done() const { return arguments_.count != 0 && seen_ >= arguments_.count && due_.empty(); }

  Deadline next_deadline() const {
    Deadline next = ready_ ? Deadline::max() : deadline_;
    for (const DueAnswer& answer : due_) next = std::min(next, answer.when);
    return next;
  }

  // Fails as print() does.
  Failure take(const Message& message) {
    Failure failure;
    if (message.code == kReadyCode && !ready_) {
      ready_ = true;
      failure = show(arguments_.json ? request_json(wall_clock(), 0, message, nullptr) : "ready\n");
    }
    // What comes while the last answer is still due is left to whoever serves next.
    if (message.code != kPlatformCode || (arguments_.count != 0 && seen_ >= arguments_.count)) return failure;
    ++seen_;
    const Message shown = identities_.in_message(message);
    Request request;
    if (!decode_request(message.text, &request)) {
      return show(arguments_.json ? request_json(wall_clock(), seen_, shown, nullptr)
                                  : "command " + visible(shown.text) + "\n");
    }
    auto row = std::find_if(rows_.begin(), rows_.end(), [&](const AnswerRow& candidate) {
      return matches(candidate, request.opcode, request.payload);
    });
    const AnswerRow answer = row == rows_.end() ? AnswerRow() : *row;
    Response masked = answer.response;
    masked.data = identities_.in_data(request.opcode, masked.data);
    if (answer.answers) due_.push_back({in_seconds(answer.delay_ms / 1000.0), answer.response, masked});
    if (arguments_.json) return show(request_json(wall_clock(), seen_, shown, answer.answers ? &masked : nullptr));
    const std::string payload = identities_.in_data(request.opcode, request.payload);
    bool is_hex = shape_of(nullptr, payload) == Shape::hex;
    failure = show(message_text(shown) + "\n" + (is_hex ? hexdump(payload) : ""));
    return failure || answer.answers ? failure : show("no answer\n");
  }

  Failure send_due() {
    Deadline present = in_seconds(0);
    for (size_t i = 0; i < due_.size();) {
      if (due_[i].when > present) {
        ++i;
        continue;
      }
      Failure failure = say(response_line(due_[i].response), in_seconds(target_.timeout));
      if (!failure && !arguments_.json) failure = show("answer " + response_text(due_[i].shown) + "\n");
      if (failure) return failure;
      due_.erase(due_.begin() + i);
    }
    return {};
  }

  Failure say(const std::string& line, Deadline deadline) {
    int error = connection_.send(line, deadline);
    if (error == 0) return {};
    return error == ETIMEDOUT ? timed_out(target_, "no room for a line") : went_away(target_);
  }

  Failure show(const std::string& text) {
    return print(arguments_.json ? text : clock_time(wall_clock()) + "  " + text, signals_.fd());
  }

  const Target& target_;
  const ServeArguments& arguments_;
  const std::vector<AnswerRow>& rows_;
  StopSignals signals_;
  Identities identities_;
  Connection connection_;
  Deadline deadline_;  // of the daemon's answer to "initialize"
  bool ready_ = false;
  int seen_ = 0;
  std::vector<DueAnswer> due_;
};

}  // namespace

int run_serve(const Target& target, const ServeArguments& arguments) {
  std::vector<AnswerRow> rows;
  Failure failure;
  if (!arguments.answers.empty()) {
    failure = read_lines(arguments.answers, [&](int, const std::string& line) -> std::string {
      return is_comment(line) ? "" : parse_answer_row(line, RowsOf::platform, &rows.emplace_back());
    });
  }
  return failure ? complain(failure) : Platform(target, arguments, rows).run();
}

}  // namespace atd::client
