#include <errno.h>
#include <fmt/format.h>
#include <poll.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "client/commands.h"
#include "client/identities.h"
#include "client/input.h"
#include "client/json.h"
#include "client/output.h"
#include "client/output_file.h"
#include "client/stop_signals.h"
#include "daemon/calls.h"
#include "desk/control.h"
#include "desk/verb.h"
#include "desk/words.h"

namespace atd::client {
namespace {

// The help of a verb in 80 columns: the sentence stands after the arguments, or below them where they are long.
std::string verb_help(const Verb& verb) {
  const char* space = *verb.arguments == '\0' ? "" : " ";
  return in_columns(fmt::format("  {}{}{}", verb.name, space, verb.arguments), kHelpColumn, verb.summary);
}

// How many of the given words are those that the verb's name begins with.
size_t words_in_common(const Verb& verb, const std::vector<std::string>& words) {
  std::string_view rest = verb.name;
  size_t count = 0;
  while (count < words.size() && take_word(&rest) == words[count]) ++count;
  return count;
}

Failure reach(Connection& connection, const PhoneArguments& arguments) {
  const std::string& folder = arguments.folder;
  const int error = connection.open(folder + kControlSocket, in_seconds(arguments.timeout));
  if (is_forbidden(error)) return no_permission(folder + kControlSocket);
  switch (error) {
    case 0: return {};
    case ENOENT:
    case ENOTDIR:
    case ECONNREFUSED: return {kNoDaemon, fmt::format("no phone runs in {}; {}", folder, how_to_start(folder))};
    case ETIMEDOUT:
      return {kTimedOut,
              fmt::format("no connection within {} to the phone in {}", in_words(arguments.timeout), folder)};
    default: return {kNoDaemon, fmt::format("the phone in {} cannot be reached: {}", folder, strerror(error))};
  }
}

Failure not_in_time(const PhoneArguments& arguments, const char* what) {
  return {kTimedOut, fmt::format("{} within {} from the phone in {}; --timeout SECONDS waits longer", what,
                                 in_words(arguments.timeout), arguments.folder)};
}

// Waits until the connection ends, which a phone that stops leaves to the end of its process.
Failure await_end(Connection& connection, const PhoneArguments& arguments) {
  const Deadline deadline = in_seconds(arguments.timeout);
  Message ignored;
  Wait wait;
  do wait = connection.next(&ignored, deadline);
  while (wait == Wait::message);
  return wait == Wait::timed_out ? not_in_time(arguments, "no end") : Failure();
}

// How far long work is told to a person who watches.
bool shows_progress(const PhoneArguments& arguments) { return !arguments.json && isatty(STDERR_FILENO) == 1; }

// Writes what is told over what was told last.
void show_progress(const std::string& text) {
  [[maybe_unused]] const ssize_t shown = write(STDERR_FILENO, ("\r" + text + "\x1b[K").c_str(), text.size() + 4);
}

// Prints the replies as they come, or writes them to an open file at the end; the status of the last. A verb that is
// `endless` ends with a signal.
int print_replies(Connection& connection, const PhoneArguments& arguments, const Verb& verb, bool is_masked,
                  bool endless, OutputFile& file) {
  const std::string& folder = arguments.folder;
  const int most_ms = !arguments.bounded || endless ? -1 : static_cast<int>(std::min(arguments.timeout, 1e6) * 1000);
  Identities identities(folder, arguments.plain || !is_masked);
  StopSignals signals(endless);
  std::string all;
  bool is_silent = true, is_progress_shown = false;
  auto end = [&](const Failure& failure) {
    if (is_progress_shown) show_progress("");
    return complain(failure);
  };
  InputLines lines(connection.fd());
  for (std::string line;;) {
    while (!lines.is_ready()) {
      pollfd fds[] = {{connection.fd(), POLLIN, 0}, {signals.fd(), POLLIN, 0}};
      const int ready = poll(fds, 2, most_ms);
      if (ready == 0) return end(not_in_time(arguments, "no answer"));
      if (ready < 0) continue;
      if (fds[1].revents != 0) return end({});
      lines.fill();
    }
    const bool came = lines.take(&line);
    ControlReply reply;
    if (came && from_line(line, &reply)) {
      if (!reply.progress.empty() || is_progress_shown) show_progress(visible(reply.progress));
      is_progress_shown = !reply.progress.empty();
      is_silent = is_silent && reply.out.empty();
      if (file.is_open()) all += reply.out;
      else if (Failure lost = print(arguments.json ? identities.in_json(reply.out) : identities.in_text(reply.out),
                                    signals.fd())) {
        return lost.status == kStopped ? kOk : end(lost);
      }
      // An exit status has eight bits.
      const int status = reply.status == (reply.status & 0xff) ? reply.status : kOther;
      complain({status, reply.error});
      if (!reply.last) continue;
      if (status != kOk) return status;
      if (file.is_open()) return complain(file.write(all));
      Failure failure;
      if (verb.name == std::string_view("stop")) failure = await_end(connection, arguments);
      // A list may be empty.
      if (!failure && arguments.json && is_silent && verb.masks != Masks::all) failure = print(failure_json(kOk, ""));
      return complain(failure);
    } else if (came && !lines.is_cut()) {
      return end({kOther, "the phone's reply makes no sense: " + line.substr(0, 60)});
    } else {
      return end(
          {kNoDaemon, fmt::format("the phone in {} went away before it was done; {}", folder, how_to_start(folder))});
    }
  }
}

int print_answer(const CallAnswer& answer, bool json) {
  if (Failure lost = print(json ? answer.json : answer.text)) return complain(lost);
  return complain({answer.status, json ? "" : answer.error});
}

}  // namespace

int run_phone(const PhoneArguments& arguments) {
  ControlRequest request = {arguments.words, arguments.json, "", shows_progress(arguments)};
  std::vector<std::string> rest = arguments.words;
  Failure failure;
  const Verb* verb = find_verb(&rest, &failure.text);
  if (verb == nullptr) return complain({kUsage, failure.text + "; see atdctl phone --help"});
  if (verb->name == std::string_view("call")) {
    // The table is here, too: what needs no phone asks none.
    CallRequest call = read_call(rest);
    if (!call.error.empty() || !call.call || call.help) return print_answer(explain(call), arguments.json);
    const bool asked = !call.yes;
    if (!confirm(&call)) return print_answer(explain(call), arguments.json);
    if (asked && call.yes) request.words.insert(request.words.begin() + 1, "--yes");
  }
  if (arguments.folder.empty()) return complain({kUsage, "no phone is named: give --device DIR or set ATD_DEVICE"});
  const int file = file_argument(*verb);
  if (file >= 0 && file < static_cast<int>(rest.size()))
    failure = read_file(rest[file], kControlRequestMax, &request.input);
  const int output = output_argument(*verb);
  const bool has_output = output >= 0 && output < static_cast<int>(rest.size());
  if (has_output && arguments.json && rest[output] != "-") {
    return complain({kUsage, "--json goes with \"-\" alone: the file gets what the verb prints without it"});
  }
  const std::string line = to_line(request);
  if (!failure && line.size() > kControlRequestMax) {
    failure = {kUsage, fmt::format("the request has {} bytes with its file in it; the phone takes at most {}",
                                   line.size(), kControlRequestMax)};
  }
  OutputFile to;
  if (!failure && has_output) failure = to.open(rest[output]);
  Connection connection;
  if (!failure) failure = reach(connection, arguments);
  if (failure) return complain(failure);
  // Of a phone that goes away print_replies() tells.
  if (connection.send_bytes(line, in_seconds(arguments.timeout)) == ETIMEDOUT) {
    return complain(not_in_time(arguments, "no room for the request"));
  }
  auto is_follow = [](const std::string& word) { return word == "-f" || word == "--follow"; };
  const bool is_masked = verb->masks == Masks::all || (verb->masks == Masks::whole_list && rest.empty());
  return print_replies(connection, arguments, *verb, is_masked, std::any_of(rest.begin(), rest.end(), is_follow), to);
}

int run_phone_help(const std::vector<std::string>& words) {
  if (words[0] == "call" && words.size() > 1) {
    CallRequest call = read_call({words.begin() + 1, words.end()});
    call.help = true;
    if (call.call) call.error.clear();
    return print_answer(explain(call), false);
  }
  size_t most = 1;
  for (const Verb& verb : phone_verbs()) most = std::max(most, words_in_common(verb, words));
  std::string text;
  for (const Verb& verb : phone_verbs()) {
    if (words_in_common(verb, words) == most) text += verb_help(verb);
  }
  if (!text.empty()) {
    return complain(print("Usage: atdctl phone VERB [ARGUMENTS] [--json]\n\n" + text));
  }
  std::vector<std::string> rest = words;
  std::string error;
  find_verb(&rest, &error);
  return complain({kUsage, error + "; see atdctl phone --help"});
}

std::string phone_help() {
  std::string text = "Verbs:\n";
  for (const Verb& verb : phone_verbs()) text += verb_help(verb);
  return text +
         "\nFILE is a file of yours, or - for standard input; OUTPUT one that takes what\n"
         "the verb prints, or - for standard output. --json, --help, --plain, --timeout,\n"
         "--device and --socket may stand anywhere; everything else after a verb belongs\n"
         "to it, and so does everything after \"--\". With --timeout a verb that says\n"
         "nothing for so long ends with status 75.";
}

}  // namespace atd::client
