#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <string_view>

#include "client/commands.h"
#include "client/identities.h"
#include "client/json.h"
#include "client/output.h"
#include "client/recording.h"
#include "client/replay_clients.h"
#include "desk/words.h"

namespace atd::client {
namespace {

using Kind = Event::Kind;

// What a client sent, short enough for a line.
std::string input_text(const std::string& bytes, Identities& identities) {
  constexpr size_t kShort = 60;
  std::string line = bytes.substr(0, bytes.find('\0'));
  std::string_view rest = line;
  const std::string_view word = take_word(&rest);
  const std::string text(rest.substr(std::min<size_t>(rest.size(), 1)));
  Request request;
  if (word == kRequestWord && decode_request(text, &request)) {
    return message_text(identities.in_message({kPlatformCode, text, ""}));
  }
  if (word == kResponseWord) {
    return fmt::format("{} {}", word, message_text(identities.in_message({kAnswerCode, text, ""})));
  }
  line = identities.in_message({0, line, ""}).text;
  return visible(line.substr(0, kShort)) + (line.size() > kShort ? "..." : "");
}

std::chrono::nanoseconds time_of(const Event& event) {
  return std::chrono::seconds(event.time.tv_sec) + std::chrono::nanoseconds(event.time.tv_nsec);
}

class Replay {
 public:
  Replay(const Target& target, const ReplayArguments& arguments, const std::vector<Event>& events, const Masks& masks)
      : target_(target),
        arguments_(arguments),
        events_(events),
        masks_(masks),
        clients_(target, masks),
        identities_(phone_folder(target.socket, ""), arguments.plain) {}

  int run() {
    ExchangeLock lock;
    if (!lock.take(target_.socket, in_seconds(target_.timeout))) {
      return complain(timed_out(target_, "no turn among the other clients"));
    }
    const Deadline begin = std::chrono::steady_clock::now();
    for (const Event& event : events_) {
      event_ = &event;
      if (arguments_.realtime) clients_.pass_time(begin + (time_of(event) - time_of(events_[0])));
      int status = play();
      if (status != kOk) return status;
    }
    Failure failure = clients_.end();
    if (!failure && clients_.has_ended() && !stopped_) failure = went_away(target_);
    if (failure) return complain(failure);
    if (!clients_.unasked().empty()) return differ("nothing more", shown(clients_.unasked().front()), kFailed);
    if (arguments_.json) return worse(missed_.status, complain(print(json(nullptr, missed_.status))));
    failure = print(fmt::format("{} {}, no difference\n", compared_, compared_ == 1 ? "message" : "messages"));
    return worse(missed_.status, complain(failure));
  }

 private:
  int play() {
    Failure failure;
    switch (event_->kind) {
      case Kind::connect: failure = clients_.connect(event_->client, restarted_); break;
      case Kind::disconnect: failure = clients_.disconnect(event_->client); break;
      case Kind::input: failure = say(); break;
      case Kind::missed:
        missed_ = {kUsage, fmt::format("{}{} bytes of client {} are not in the recording and cannot be sent", place(),
                                       event_->count, event_->client)};
        if (!arguments_.json) complain(missed_);  // the object at the end has it
        break;
      case Kind::message: return compare();
    }
    return failure ? complain({failure.status, place() + failure.text}) : kOk;
  }

  Failure say() {
    input_ = event_;
    Failure failure;
    if (!clients_.is_there(event_->client)) failure = clients_.connect(event_->client, restarted_);
    return failure ? failure : clients_.send(event_->client, event_->bytes);
  }

  int compare() {
    if (event_->message.code == kStoppedCode) return end();
    // The answers to an input come after it. What the daemon says before any input cannot be asked for again.
    bool is_heard = event_->client == 0 ? !clients_.is_empty() : clients_.is_there(event_->client);
    if (input_ == nullptr || !is_heard || is_farewell(event_->message)) return kOk;
    Comparable expected = masks_.apply(event_->message), got;
    Failure failure = clients_.take(event_->client, &got);
    if (failure.status == kTimedOut) return differ(shown(expected), failure.text, kTimedOut);
    if (failure) return complain({failure.status, place() + failure.text});
    ++compared_;
    return expected.key == got.key ? kOk : differ(shown(expected), shown(got), kFailed);
  }

  // The recorded daemon ends. Where no input follows, its owner ended it. Where one follows, the daemon was restarted,
  // and the next one is waited for.
  int end() {
    auto is_input = [](const Event& event) { return event.kind == Kind::input; };
    stopped_ = std::none_of(event_, &events_.back() + 1, is_input);
    if (stopped_) return kOk;
    restarted_ = true;
    Failure failure = clients_.await_end();
    return failure ? differ("the end of the daemon", failure.text, kTimedOut) : kOk;
  }

  std::string json(const Difference* difference, int status) const {
    return replay_json(compared_, difference, status, missed_.text);
  }

  int differ(const std::string& expected, const std::string& got, int status) {
    if (arguments_.json) {
      Difference difference = {event_->line, 0, 0, "", expected, got};
      if (input_ != nullptr) {
        difference.input_line = input_->line;
        difference.client = input_->client;
        difference.input = input_text(input_->bytes, identities_);
      }
      return worse(status, complain(print(json(&difference, status))));
    }
    std::string text = place() + "the first difference\n";
    if (input_ != nullptr) {
      text += fmt::format("  line {}, client {}: {}\n", input_->line, input_->client,
                          input_text(input_->bytes, identities_));
    }
    return worse(status, complain(print(fmt::format("{}  expected: {}\n  got:      {}\n", text, expected, got))));
  }

  std::string shown(const Comparable& said) { return full_text(identities_.in_message(said.message)); }

  std::string place() const { return fmt::format("{}:{}: ", arguments_.file, event_->line); }

  const Target& target_;
  const ReplayArguments& arguments_;
  const std::vector<Event>& events_;
  const Masks& masks_;
  ReplayClients clients_;
  Identities identities_;
  const Event* event_ = nullptr;  // the one that is being played
  const Event* input_ = nullptr;  // the last input, null for none yet
  bool restarted_ = false;        // the daemon has ended, and another one follows
  bool stopped_ = false;          // the recording ends with the daemon's end
  Failure missed_;                // kUsage when the recording does not have all that the clients sent
  int compared_ = 0;
};

}  // namespace

int run_replay(const Target& target, const ReplayArguments& arguments) {
  Masks masks;
  std::vector<Event> events;
  Failure failure;
  for (const std::string& mask : arguments.masks) {
    if (!failure) failure = masks.add(mask);
  }
  if (!failure) failure = read_recording(arguments.file, &events);
  for (const Event& event : events) {
    if (failure || event.kind != Kind::message || !is_masked(event.message)) continue;
    failure = {kUsage, fmt::format("{}:{}: identities are masked in this recording, so it is to be read, not replayed: "
                                   "record with atd --record",
                                   arguments.file, event.line)};
  }
  auto is_input = [](const Event& event) { return event.kind == Kind::input; };
  if (!failure && std::none_of(events.begin(), events.end(), is_input)) {
    failure = {kUsage, arguments.file +
                           " has nothing that a client sent, so there is nothing to play: atd --record "
                           "records both sides, atdctl monitor records only what the daemon says"};
  }
  return failure ? complain(failure) : Replay(target, arguments, events, masks).run();
}

}  // namespace atd::client
