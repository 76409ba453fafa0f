#include "client/cli.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>

#include "atd.h"
#include "client/command_line.h"
#include "client/commands.h"
#include "client/output.h"
#include "desk/answer_rows.h"
#include "desk/nearest.h"
#include "desk/verb.h"
#include "desk/words.h"

namespace atd::client {
namespace {

struct Options {
  std::string socket, device;
  RequestArguments request;
  bool json = false;
  bool plain = false;
  bool hexdump = false;
  bool platform = false;
  MonitorArguments monitor;
  ServeArguments serve;
  ReplayArguments replay;
  BatchArguments batch;
  double silence_ms = 200;
  double timeout = Target().timeout;
  PhoneArguments phone;
  std::string text;
  std::string shell;
  std::vector<std::string> help;
};

// Seconds or milliseconds that a clock can count; strtod() also reads "nan", which no comparison accepts.
std::string check_time(const std::string& text) {
  char* end = nullptr;
  double value = strtod(text.c_str(), &end);
  return !text.empty() && *end == '\0' && value >= 0 && value <= 1e9 ? "" : "takes a number from 0 to 1e9, such as 0.5";
}

std::string check_report(const std::string& file) {
  return file == "-" ? "takes a file: the answers go to standard output" : "";
}

// The help in 80 columns: what is said about an option or a command goes on below where it began.
struct Formatter : CLI::Formatter {
  std::string make_option_opts(const CLI::Option* option) const override {
    return (option->get_option_text().empty() ? "" : " ") + option->get_option_text();
  }
  std::string make_option(const CLI::Option* option, bool positional) const override {
    return in_columns("  " + make_option_name(option, positional) + make_option_opts(option), kHelpColumn,
                      make_option_desc(option));
  }
  std::string make_subcommand(const CLI::App* command) const override {
    return in_columns("  " + command->get_name(), kHelpColumn, command->get_description());
  }
};

// The last one counts where an option that takes one value is repeated.
void take_last(CLI::App& app) {
  auto takes_one = [](CLI::Option* option) {
    return !option->get_positional() && option->get_items_expected_max() == 1;
  };
  for (CLI::Option* option : app.get_options(takes_one)) option->take_last();
  for (CLI::App* command : app.get_subcommands([](CLI::App*) { return true; })) take_last(*command);
}

// Everything that the command line knows. Parsing leaves the command to run in `chosen`.
class CommandLine {
 public:
  CommandLine(CLI::App& app, Options& options, std::function<int()>& chosen)
      : app_(app), options_(options), chosen_(chosen) {
    add_program();
    add_requests();
    add_batch();
    add_platform();
    add_watching();
    add_replay();
    add_phone();
    add_help();
    take_last(app);
  }

 private:
  Target target() const { return {socket_path(options_.socket, options_.device), options_.timeout}; }

  CLI::App* add(const char* name, const char* description, std::function<int()> body) {
    CLI::App* command = app_.add_subcommand(name, description)->group("Commands");
    command->footer("Options stand before or after the command's name.");
    command->callback([this, body] { chosen_ = body; });
    return command;
  }

  CLI::Option* add_json(CLI::App* command, const char* description) {
    return command->add_flag("--json", options_.json, description);
  }

  void add_plain(CLI::App* command) {
    command->add_flag("--plain", options_.plain, "Show identities, such as the IMEI, in full, not masked");
  }

  // What monitor and serve have in common.
  template <typename Arguments>
  void add_watch(CLI::App* command, Arguments& arguments, const char* count) {
    add_plain(command);
    command->add_flag("--json", arguments.json, "Print one object a line");
    command->add_option("--count", arguments.count, count)->option_text("N")->check(CLI::Range(1, 2000000000));
  }

  void add_program();
  void add_requests();
  void add_batch();
  void add_platform();
  void add_watching();
  void add_replay();
  void add_phone();
  void add_help();

  CLI::App& app_;
  Options& options_;
  std::function<int()>& chosen_;
};

void CommandLine::add_program() {
  app_.set_help_flag("-h,--help", "Print this help, or a command's, and end");
  app_.set_version_flag("--version", "atdctl " ATD_VERSION, "Print the version and end");
  app_.formatter(std::make_shared<Formatter>());
  app_.get_formatter()->label("Positionals", "Arguments");
  app_.get_formatter()->label("OPTIONS", "options");
  app_.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app_.require_subcommand(1);
  app_.fallthrough();
  auto* socket = app_.add_option("--socket", options_.socket, "Socket of the daemon")->option_text("PATH");
  app_.add_option("--device", options_.device, "Folder of the phone; its socket is DIR/dev/socket/atd")
      ->option_text("DIR")
      ->excludes(socket);
  app_.add_option("--timeout", options_.timeout, "Longest wait for an answer (default 15)")
      ->option_text("SECONDS")
      ->check(check_time);
  std::string footer = "Environment: ATD_SOCKET and ATD_DEVICE stand for --socket and --device.\nExit status:";
  for (const StatusMeaning& row : statuses()) footer += fmt::format("\n{:4}  {}", row.status, row.meaning);
  app_.footer(footer);
}

void CommandLine::add_requests() {
  CLI::App* command = add("ops", "List the opcodes", [this] { return run_ops(options_.json); });
  add_json(command, "Print an array of objects");
  command->footer("It needs no daemon. A row that is not built begins with an exclamation mark.");

  command = add("request", "Send a request and print its answer", [this] {
    options_.request.json = options_.json;
    if (options_.request.output == "value") options_.request.value = true, options_.request.output.clear();
    if (options_.json && (options_.request.value || options_.request.output == "-")) {
      return complain({kUsage, "a value alone is no JSON: leave one out"});
    }
    return run_request(target(), options_.request);
  });
  RequestArguments& request = options_.request;
  command->add_option("NAME|NUMBER", request.opcode, "Opcode: a name of \"atdctl ops\", or any 32-bit number")
      ->required()
      ->option_text(" ");
  auto* text =
      command->add_option("TEXT", request.text, "Payload as text, at most 2047 bytes; not for bytes")->option_text(" ");
  auto* hex = command->add_option("--hex", request.hex, "Payload as pairs of hex digits, at most 2048 bytes");
  auto* file = command->add_option("--file", request.file, "Payload from a file, - for standard input");
  text->each([&request](const std::string&) { request.has_text = true; });
  hex->option_text("HEX")->excludes(text)->each([&request](const std::string&) { request.has_hex = true; });
  file->option_text("FILE")->excludes(text)->excludes(hex);
  file->each([&request](const std::string&) { request.has_file = true; });
  command->add_flag("--read", request.read, "Read, where a text would be written")
      ->excludes(text)
      ->excludes(hex)
      ->excludes(file);
  add_json(command, "Print one object");
  auto* value = command->add_flag("-r", request.value, "Print the answer's value alone, as --output value does");
  command
      ->add_option("--output", request.output,
                   "Write the bytes of the answer into a file, - for standard output; \"value\" prints the value alone")
      ->option_text("FILE")
      ->check([](const std::string& name) { return name.empty() ? "takes a file, - or value" : ""; })
      ->excludes(value);
  command->footer(
      "The value is a text as it is, a byte as a number, other bytes in hex. It is for\n"
      "x=$(atdctl request -r NAME): where the result is not 0, standard output and the\n"
      "file get nothing (a file that is there stays as it is), and standard error has\n"
      "the result.");
}

void CommandLine::add_batch() {
  CLI::App* command = add("batch", "Send each line of a file as a request, and print the answers in order", [this] {
    options_.batch.json = options_.json;
    return run_batch(target(), options_.batch);
  });
  command
      ->add_option("FILE|-", options_.batch.file,
                   "Lines of NAME|NUMBER [TEXT|text:TEXT|hex:HEX] [-> RESULT [TEXT|text:TEXT|hex:HEX]]; empty lines "
                   "and # comments are skipped")
      ->option_text(" ");
  command->add_flag("--stop-on-error", options_.batch.stop_on_error, "End after the first line whose status is not 0");
  auto* dry = command->add_flag("--dry-run", options_.batch.dry_run, "Check the lines and print them, send nothing");
  command->add_option("--junit", options_.batch.junit, "Write a report as JUnit does into this file")
      ->option_text("FILE")
      ->check(check_report)
      ->excludes(dry);
  command->add_option("--csv", options_.batch.csv, "Write a row for every request into this file")
      ->option_text("FILE")
      ->check(check_report)
      ->excludes(dry);
  add_json(command, "Print one object a line");
  command->footer(
      "All lines are checked before the first is sent. RESULT is OK, FAIL, \"not\n"
      "supported\" (or UNSUPPORTED) or a number, and the text after it is the answer's;\n"
      "without one any data will do. The status of a line that expects something is 0\n"
      "when the answer is so, and else 1. A daemon that goes is waited for, as at a\n"
      "reboot, for as long as --timeout says.");
}

void CommandLine::add_platform() {
  CLI::App* command = add("send", "Send an AT command to the platform",
                          [this] { return run_send(target(), options_.text, options_.json); });
  command->add_option("TEXT", options_.text, "The AT command, such as AT+CSQ")->required()->option_text(" ");
  add_json(command, "Print one object");

  command = add("initialize", "Tell the daemon that the platform is ready",
                [this] { return run_initialize(target(), options_.json); });
  add_json(command, "Print one object");

  command = add("wait", "Wait until the daemon answers",
                [this] { return run_wait(target(), options_.platform, options_.json); });
  command->add_flag("--platform", options_.platform, "And for a sign of the platform");
  add_json(command, "Print one object");
  command->footer(
      "Signs are its \"initialize\", its answer to a request, and another client of the\n"
      "daemon, which may be the platform or, for example, a monitor.");
}

void CommandLine::add_watching() {
  CLI::App* command = add("monitor", "Print every message of the daemon as it comes", [this] {
    options_.monitor.plain = options_.plain;
    const std::vector<int>& codes = options_.monitor.codes;
    auto has_requests = [](int code) { return code == kPlatformCode || code == kCopyCode; };
    if (!options_.monitor.opcodes.empty() && !codes.empty() && std::none_of(codes.begin(), codes.end(), has_requests)) {
      return complain({kUsage, "--opcode shows requests to the platform, which have the code 605: add --code 605"});
    }
    return run_monitor(target(), options_.monitor);
  });
  add_watch(command, options_.monitor, "End after so many messages that are shown");
  command->add_option("--code", options_.monitor.codes, "Show messages with this code alone; may stand several times")
      ->option_text("N")
      ->check(CLI::Range(0, 999))
      ->allow_extra_args(false);
  command
      ->add_option("--opcode", options_.monitor.opcodes,
                   "Show requests to the platform with this opcode alone; may stand several times")
      ->option_text("NAME|NUMBER")
      ->allow_extra_args(false);
  command->add_option("--for", options_.monitor.seconds, "End after this time; with --count the status is then 75")
      ->option_text("SECONDS")
      ->check(check_time);
  command->add_flag("--follow", options_.monitor.follow, "Wait for a daemon that is gone, as at a reboot, and go on");
  auto* record = command->add_option("--record", options_.monitor.record, "Append every message to this file");
  record->option_text("FILE");
  command->add_flag("--quiet", options_.monitor.quiet, "Print nothing; for --record")->needs(record);

  command = add("serve", "Stand in for the platform: print what the daemon asks of it, and answer", [this] {
    options_.serve.plain = options_.plain;
    return run_serve(target(), options_.serve);
  });
  add_watch(command, options_.serve, "End after so many commands and requests");
  command->add_option("--answers", options_.serve.answers, "Requests and their answers, which serve --help explains")
      ->option_text("FILE");
  command->footer("The file has rows; the first that matches counts:\n\n" + answer_row_help(RowsOf::platform) +
                  "Lines that begin with # are skipped. Any other request is answered with result\n"
                  "0 and no data.");
}

void CommandLine::add_replay() {
  CLI::App* command = add("replay", "Send what the clients in a recording sent, and compare the answers", [this] {
    options_.replay.json = options_.json;
    options_.replay.plain = options_.plain;
    return run_replay(target(), options_.replay);
  });
  command->add_option("FILE|-", options_.replay.file, "The recording, made with atd --record FILE")
      ->required()
      ->option_text(" ");
  command
      ->add_option("--mask", options_.replay.masks,
                   "Leave what this extended regular expression matches out of the comparison, as dates and times are")
      ->option_text("REGEX")
      ->allow_extra_args(false);
  command->add_flag("--realtime", options_.replay.realtime, "Keep the recording's pauses");
  add_plain(command);
  add_json(command, "Print one object");
}

void CommandLine::add_phone() {
  CLI::App* command = add("doctor", "Check the socket, the daemon, its modem and items, and the phone's nodes",
                          [this] { return run_doctor(target(), options_.json); });
  add_json(command, "Print one object a check");
  command->footer(
      "A line a check: ok, fail or \"not seen\", what was found, and what to do. It\n"
      "changes nothing on the phone. The exit status is 0 when no check failed, and\n"
      "else 1. Nodes are seen on the phone itself, or in a simulated one's folder.");

  command = add("phone", "Do something to the running simulated phone", [this]() -> int {
    if (options_.phone.words.empty()) return complain(print(app_.help()));
    options_.phone.folder = phone_folder(options_.socket, options_.device);
    options_.phone.json = options_.json;
    options_.phone.plain = options_.plain;
    options_.phone.timeout = options_.timeout;
    options_.phone.bounded = app_.get_option("--timeout")->count() > 0;
    return run_phone(options_.phone);
  });
  command->footer(phone_help());
  // take_verb() takes the words; the parser needs the option for its help.
  command->add_option("VERB", options_.phone.words, "What to do, and its arguments; without it this help is printed")
      ->option_text(" ");
  add_plain(command);
  add_json(command, "Have the verb print JSON");
  if (phone_verbs().empty()) app_.remove_subcommand(command);  // there is no simulated phone

  command = add("raw", "Send the lines of standard input as they are, and print what comes",
                [this] { return run_raw(target(), options_.hexdump, options_.silence_ms); });
  command->add_flag("--hexdump", options_.hexdump, "Print the bytes on the wire too");
  command->add_option("--silence", options_.silence_ms, "Go on to the next line after this much silence (default 200)")
      ->option_text("MILLISECONDS")
      ->check(check_time);
  command->footer("It shows everything as it is: identities, such as the IMEI, are not masked.");
}

void CommandLine::add_help() {
  CLI::App* command =
      add("completion", "Print the completion script for bash", [this] { return run_completion(app_); });
  command->add_option("SHELL", options_.shell, "bash")->option_text(" ")->check(CLI::IsMember({"bash"}));
  command = add("help", "Print the help of a command, or of a verb of phone", [this] {
    const std::vector<std::string>& words = options_.help;
    if (words.empty()) {
      return complain(print(app_.get_formatter()->make_help(&app_, app_.get_name(), CLI::AppFormatMode::Normal)));
    }
    if (words[0] == "phone" && words.size() > 1) return run_phone_help({words.begin() + 1, words.end()});
    for (const CLI::App* found : commands_of(app_)) {
      if (found->get_name() == words[0]) return complain(print(found->help("atdctl")));
    }
    const std::vector<Verb>& verbs = phone_verbs();
    auto begins = [&](const Verb& verb) { return (std::string(verb.name) + " ").starts_with(words[0] + " "); };
    if (std::any_of(verbs.begin(), verbs.end(), begins)) return run_phone_help(words);
    return complain({kUsage, no_command(app_, words[0])});
  });
  command->add_option("COMMAND", options_.help, "Such as request, or phone card")->option_text(" ");
  add("dictionary", "Print a fuzzing dictionary of the protocol", run_dictionary)->group("");
  add("manual", "Print the manual page", [this] { return run_manual(app_); })->group("");
}

// A closed standard stream gets a descriptor that can only be used the wrong way round: nothing else that is opened
// takes its number, and its use is still an error.
void occupy_standard_streams() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (fcntl(fd, F_GETFD) < 0) open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

}  // namespace

int run(int argc, char** argv) {
  occupy_standard_streams();
  signal(SIGPIPE, SIG_IGN);  // print() tells that the reader went away
  CLI::App app("Talks to atd, the phone's AT-command daemon.", "atdctl");
  Options options;
  std::function<int()> chosen;
  CommandLine line(app, options, chosen);
  std::vector<std::string> arguments(argv + 1, argv + argc);
  move_options(app, &arguments);
  const std::vector<std::string> verb = take_verb(&arguments);
  complain_in_json(asks_for_json(arguments));
  std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
  try {
    app.parse(arguments);
    options.phone.words = verb;
  } catch (const CLI::CallForHelp&) {
    return verb.empty() ? complain(print(app.help())) : run_phone_help(verb);
  } catch (const CLI::CallForVersion& version) {
    return complain(print(version.what() + std::string("\n")));
  } catch (const CLI::ParseError& error) {
    return complain({kUsage, what_is_wrong(app, error)});
  }
  return chosen();
}

}  // namespace atd::client
