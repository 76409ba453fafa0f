#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "client/commands.h"
#include "dispatch/opcode_table.h"

namespace atd::client {
namespace {

std::vector<const CLI::App*> commands_of(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
}

// Options without dashes, or those with; the help that every command has is named once, for all.
std::vector<const CLI::Option*> options_of(const CLI::App& app, bool positional) {
  return app.get_options([&app, positional](const CLI::Option* option) {
    return option->get_positional() == positional && (option != app.get_help_ptr() || app.get_parent() == nullptr);
  });
}

std::string flags_of(const CLI::App& app) {
  std::string flags;
  for (const CLI::Option* option : options_of(app, false)) {
    for (const std::string& name : option->get_lnames()) flags += (flags.empty() ? "--" : " --") + name;
  }
  return flags;
}

enum class Value { any, folder, file, other };

Value value_of(const CLI::Option& option) {
  std::string kind = option.get_option_text();
  return kind == "DIR" ? Value::folder : kind == "PATH" || kind == "FILE" ? Value::file : Value::other;
}

// Patterns of a bash `case` for the options that take such a value, the commands' included.
std::string options_with(const CLI::App& app, Value value) {
  std::string patterns;
  for (const CLI::Option* option : options_of(app, false)) {
    if (option->get_items_expected_max() == 0 || (value != Value::any && value != value_of(*option))) continue;
    for (const std::string& name : option->get_lnames()) patterns += (patterns.empty() ? "--" : "|--") + name;
  }
  for (const CLI::App* command : commands_of(app)) {
    std::string more = options_with(*command, value);
    if (!more.empty()) patterns += (patterns.empty() ? "" : "|") + more;
  }
  return patterns;
}

// What may stand as a command's first argument, as a `compgen` call.
std::string first_argument(const CLI::App& command) {
  std::vector<const CLI::Option*> arguments = options_of(command, true);
  if (arguments.empty()) return "";
  std::string kind = arguments[0]->get_name(true, false);
  if (kind == "FILE|-") return "compgen -f";
  if (kind == "SHELL") return "compgen -W bash";
  if (kind != "NAME|NUMBER") return "";
  std::string names;
  for (const Opcode& row : opcodes()) names += (names.empty() ? "" : " ") + std::string(row.name);
  return "compgen -W \"" + names + "\"";
}

// Text of the manual page: what roff would act upon is escaped.
std::string roff(const std::string& text) {
  std::string escaped;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if ((c == '.' || c == '\'') && (i == 0 || text[i - 1] == '\n')) escaped += "\\&";
    escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
  }
  return escaped;
}

void write_item(std::ostream& out, const std::string& name, const std::string& value, const std::string& text) {
  out << ".TP\n\\fB" << roff(name) << "\\fR" << (value.empty() ? "" : " \\fI" + roff(value) + "\\fR") << "\n"
      << roff(text) << ".\n";
}

void write_options(std::ostream& out, const CLI::App& app) {
  for (const CLI::Option* option : options_of(app, true)) {
    write_item(out, option->get_name(true, false), "", option->get_description());
  }
  for (const CLI::Option* option : options_of(app, false)) {
    write_item(out, option->get_name(false, true), option->get_option_text(), option->get_description());
  }
}

// A command's name and arguments, as "request NAME|NUMBER [TEXT]".
std::string usage_of(const CLI::App& command) {
  std::string usage = command.get_name();
  for (const CLI::Option* option : options_of(command, true)) {
    std::string name = option->get_name(true, false);
    usage += option->get_required() ? " " + name : " [" + name + "]";
  }
  return usage;
}

constexpr char kDescription[] = R"(.SH DESCRIPTION
.B atdctl
talks to
.BR atd (1),
the AT\-command daemon of a phone or of a simulated phone, through its local socket.
It sends service requests and shows their answers by name, sends lines as the platform would, and watches what the
daemon says to all.
.PP
Answers go to everyone on the socket and do not say whom they are for.
Clients on one machine therefore take turns, by a lock on the file
.IR socket .lock.
)";

constexpr char kExamples[] = R"(.SH EXAMPLES
.nf
atd \-\-device phone &
export ATD_DEVICE=phone
atdctl wait
atdctl request get_serial_number
atdctl request 4080 \-\-hex 01
printf 'get_msn\enget_csn\en' | atdctl batch \-\-json
atdctl monitor
.fi
.SH SEE ALSO
.BR atd (1)
)";

// A byte of a dictionary's word.
std::string dictionary_byte(unsigned char byte) {
  char text[8];
  snprintf(text, sizeof text, "\\x%02x", byte);
  return text;
}

}  // namespace

int run_completion(const CLI::App& app) {
  std::ostringstream out;
  std::string names;
  for (const CLI::App* command : commands_of(app)) names += (names.empty() ? "" : " ") + command->get_name();
  std::string patterns = names;
  std::replace(patterns.begin(), patterns.end(), ' ', '|');
  out << "# bash completion for atdctl, made by: atdctl completion bash\n"
      << "_atdctl() {\n"
      << "  local cur=${COMP_WORDS[COMP_CWORD]} command='' arguments=0 i\n"
      << "  COMPREPLY=()\n"
      << "  case ${COMP_WORDS[COMP_CWORD - 1]} in\n"
      << "    " << options_with(app, Value::folder) << ") mapfile -t COMPREPLY < <(compgen -d -- \"$cur\"); return ;;\n"
      << "    " << options_with(app, Value::file)
      << ") mapfile -t COMPREPLY < <(compgen -f -- \"$cur\"); return ;;\n"
      << "    " << options_with(app, Value::other) << ") return ;;\n"
      << "  esac\n"
      << "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
      << "    case ${COMP_WORDS[i]} in\n"
      << "      " << options_with(app, Value::any) << ") ((i++)) ;;\n"
      << "      -*) ;;\n"
      << "      *) if [[ -z $command ]]; then command=${COMP_WORDS[i]}; else ((arguments++)); fi ;;\n"
      << "    esac\n"
      << "  done\n"
      << "  local options=\"" << flags_of(app) << "\"\n"
      << "  if [[ $cur != -* ]]; then\n"
      << "    case $command:$arguments in\n"
      << "      :0) mapfile -t COMPREPLY < <(compgen -W \"" << names << "\" -- \"$cur\") ;;\n";
  for (const CLI::App* command : commands_of(app)) {
    std::string call = first_argument(*command);
    if (call.empty()) continue;
    out << "      " << command->get_name() << ":0) mapfile -t COMPREPLY < <(" << call << " -- \"$cur\") ;;\n";
  }
  out << "    esac\n"
      << "    return\n"
      << "  fi\n"
      << "  case $command in\n";
  for (const CLI::App* command : commands_of(app)) {
    std::string flags = flags_of(*command);
    if (!flags.empty()) out << "    " << command->get_name() << ") options+=\" " << flags << "\" ;;\n";
  }
  out << "  esac\n"
      << "  mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$cur\")\n"
      << "}\n"
      << "complete -o filenames -F _atdctl atdctl\n";
  print(out.str());
  return kOk;
}

int run_dictionary() {
  std::string out = "# The socket's lines, and every opcode as a record's first bytes and as a whole line.\n";
  for (const std::string word : {kCommandWord, kResponseWord, kRequestWord, kSend}) out += "\"" + word + " \"\n";
  out += std::string("\"") + kInitialize + "\"\n";
  for (const Opcode& row : opcodes()) {
    std::string number;
    for (int shift = 0; shift < 32; shift += 8) number += dictionary_byte(static_cast<unsigned>(row.number) >> shift);
    out += std::string(row.name) + "=\"" + number + "\"\n";
    out += std::string(row.name) + "_line=\"" + request_line(row.number, "") + "\"\n";
  }
  print(out);
  return kOk;
}

int run_manual(const CLI::App& app) {
  std::ostringstream out;
  out << "'\\\" t\n"
      << ".TH ATDCTL 1\n"
      << ".SH NAME\natdctl \\- talk to atd, the AT\\-command daemon of a phone\n"
      << ".SH SYNOPSIS\n.B atdctl\n.RI [ options ]\n.I command\n.RI [ arguments ]\n"
      << kDescription << ".SH OPTIONS\nThey stand before or behind the command's name.\n";
  write_options(out, app);
  out << ".SH COMMANDS\n";
  for (const CLI::App* command : commands_of(app)) {
    out << ".SS " << roff(usage_of(*command)) << "\n" << roff(command->get_description()) << ".\n";
    write_options(out, *command);
  }
  out << ".SH OPCODES\n.TS\nlB2 lB2 lB2 lB2 lB\nr2 l2 l2 l2 l.\nNumber\tName\tPayload\tAnswer\tFlags\n";
  for (const Opcode& row : opcodes()) {
    out << row.number << "\t" << roff(row.name) << "\t" << roff(to_text(row.payload)) << "\t"
        << roff(to_text(row.answer)) << "\t" << (row.effects & kDestructive ? "D" : "")
        << (row.effects & kModem ? "M" : "") << (row.state == State::not_built ? "N" : "")
        << (row.state == State::unsupported ? "U" : "") << "\n";
  }
  out << ".TE\n.PP\nFlags: D, destructive: restarts the phone, or changes or erases what cannot be read back;\n"
      << "M, needs the modem; N, not built yet; U, not supported on this device.\n"
      << ".SH EXIT STATUS\n";
  for (const StatusMeaning& row : statuses()) {
    out << ".TP\n" << row.status << "\n" << roff(row.meaning) << ".\n";
  }
  out << ".SH ENVIRONMENT\n"
      << ".TP\n.B ATD_SOCKET\nThe daemon's socket, without \\fB\\-\\-socket\\fR and \\fB\\-\\-device\\fR.\n"
      << ".TP\n.B ATD_DEVICE\nThe phone's folder, without the three.\n"
      << kExamples;
  print(out.str());
  return kOk;
}

}  // namespace atd::client
