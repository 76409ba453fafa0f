#include <fmt/format.h>

#include "atd.h"
#include "client/command_line.h"
#include "client/commands.h"
#include "daemon/calls.h"
#include "desk/verb.h"
#include "dispatch/opcode_table.h"

namespace atd::client {
namespace {

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

// A name in bold, what follows it in italics, and a sentence below them.
std::string item(const std::string& name, const std::string& value, const std::string& sentence) {
  return fmt::format(".TP\n\\fB{}\\fR{}\n{}\n", roff(name), value.empty() ? "" : " \\fI" + roff(value) + "\\fR",
                     roff(sentence));
}

std::string options_text(const CLI::App& app) {
  std::string text;
  for (const CLI::Option* option : options_of(app, true)) {
    text += item(option->get_name(true, false), "", option->get_description() + ".");
  }
  for (const CLI::Option* option : options_of(app, false)) {
    text += item(option->get_name(false, true), option->get_option_text(), option->get_description() + ".");
  }
  return text;
}

// A command's name and arguments, such as "request NAME|NUMBER [TEXT]".
std::string usage_of(const CLI::App& command) {
  std::string usage = command.get_name();
  for (const CLI::Option* option : options_of(command, true)) {
    const std::string name = option->get_name(true, false);
    usage += option->get_required() ? " " + name : " [" + name + "]";
  }
  return usage;
}

std::string opcode_text(const Opcode& row) {
  std::string text = row.summary;
  text += row.payload == Payload::none ? " No payload" : fmt::format(" Payload: {}", to_text(row.payload));
  text += fmt::format("; answer: {}", to_text(row.answer));
  if (row.effects & kDestructive) text += "; destructive";
  if (row.effects & kModem) text += "; needs the modem";
  if (row.state != State::built) text += fmt::format("; {}", to_text(row.state));
  return item(row.name, fmt::format("({})", row.number), text + ".");
}

std::string function_text(const Call& call) {
  std::string text = call.summary;
  if (call.effects & kDestroys) text += " It needs --yes.";
  if (call.effects & kAsksPlatform) text += " It asks the platform.";
  return item(call.name, given_names(call), text);
}

constexpr char kBegin[] = R"(.TH ATDCTL 1 "" "atd {}" "User Commands"
.SH NAME
atdctl \- talk to atd, the AT\-command daemon of a phone
.SH SYNOPSIS
.B atdctl
.RI [ options ]
.I command
.RI [ arguments ]
.SH DESCRIPTION
.B atdctl
talks to
.BR atd (1),
the AT\-command daemon of a phone or of a simulated phone, through its local socket.
It sends service requests and shows their answers by name, sends lines as the platform would, and shows what the
daemon says to all.
With
.B atdctl phone
a person does to the simulated phone what hands do to a real one.
.PP
Answers go to everyone on the socket and do not say whom they are for.
Clients on one machine therefore take turns, by a lock on the file
.IR socket .lock.
.PP
With
.B \-\-json
fields that do not apply are null.
A text that is not UTF\-8 is null too, and the field
.I hex
has its bytes.
.PP
Identities, which are IMEI, MEID, serial numbers, PID, addresses and the phone number, are shown in full in an answer
that was asked for.
.BR monitor ,
.BR serve ,
a recording of
.BR monitor ,
.B phone log
and
.B phone item list
mask them, unless
.B \-\-plain
is given: the first 6 and the last 2 characters are left, and a mark that is the same for the same value of one phone.
The key of the marks is the file
.I sim/identity\-key
of the phone, or for one that is not simulated
.I atdctl/identity\-key
in
.B XDG_STATE_HOME
or
.IR ~/.local/state .
.PP
A request that takes bytes has them from
.B \-\-hex
or
.BR \-\-file ,
and in a batch as
.I hex:HEX
or
.IR text:TEXT .
One that writes a text, or reads without one, refuses an empty text:
.B \-\-read
says that it is to read.
A request that takes no payload refuses any.
An opcode that is not listed takes what is given.
)";

constexpr char kPhone[] = R"(.SH PHONE
.B atdctl phone
.I VERB
does something to the running simulated phone in a folder and prints what the phone says about it.
The folder is that of
.B \-\-device
or
.BR ATD_DEVICE ,
or the one whose
.I dev/socket/atd
is named by
.B \-\-socket
or
.BR ATD_SOCKET .
The exit status is the verb's, 0 when it was done.
A verb that does not end by itself ends with
.B SIGINT
or
.BR SIGTERM ,
and the exit status is then 0; any other verb, and
.B monitor
or
.B serve
with
.BR \-\-count ,
is not done then, and the signal ends the program.
.PP
.BR \-\-json ", " \-\-help ", " \-\-plain ", " \-\-timeout ", " \-\-device " and " \-\-socket
may stand anywhere.
Everything else after a verb belongs to it, and so does everything after
.BR \-\- .
.I FILE
is a file on the caller's side, or
.B \-
for standard input.
)";

constexpr char kFunctions[] = R"(.SH FUNCTIONS
.B atdctl phone call
.I NAME
calls a function of the library in the daemon of the simulated phone, and
.B atd call
.I NAME
in a process of its own on a phone.
Bytes are written as a text,
.I hex:00ff
or
.IR text:TEXT .
One that destroys data or ends the phone's run asks on a terminal and needs
.B \-\-yes
elsewhere.
)";

constexpr char kOpcodes[] = R"(.SH OPCODES
A destructive request restarts the phone, or changes or erases what cannot be read back.
One that is not supported, or not built yet, is answered with result 2.
)";

constexpr char kEnd[] = R"(.SH ENVIRONMENT
.TP
.B ATD_SOCKET
The daemon's socket, where neither \fB\-\-socket\fR nor \fB\-\-device\fR is given.
.TP
.B ATD_DEVICE
The phone's folder, where none of those three is given.
.SH EXAMPLES
.nf
atd \-\-device phone \-\-background
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

}  // namespace

int run_dictionary() {
  std::string out = "# The socket's lines, and every opcode as a record's first bytes and as a whole line.\n";
  for (const char* word : {kCommandWord, kResponseWord, kRequestWord, kAdcArgument})
    out += fmt::format("\"{} \"\n", word);
  out += fmt::format("\"{}\"\n", kInitializeArgument);
  for (const Opcode& row : opcodes()) {
    out += fmt::format("{}=\"", row.name);
    for (int shift = 0; shift < 32; shift += 8) {
      out += fmt::format("\\x{:02x}", (static_cast<unsigned>(row.number) >> shift) & 0xff);
    }
    out += fmt::format("\"\n{}_line=\"{}\"\n", row.name, request_line(row.number, ""));
  }
  return complain(print(out));
}

int run_manual(const CLI::App& app) {
  std::string out = fmt::format(kBegin, ATD_VERSION);
  out += ".SH OPTIONS\nThey stand before or after the command's name.\n" + options_text(app) + ".SH COMMANDS\n";
  for (const CLI::App* command : commands_of(app)) {
    out += fmt::format(".SS {}\n{}.\n", roff(usage_of(*command)), roff(command->get_description()));
    out += options_text(*command);
  }
  out += kPhone;
  for (const Verb& verb : phone_verbs()) out += item(verb.name, verb.arguments, verb.summary);
  out += kFunctions;
  for (const Call& call : calls()) out += function_text(call);
  out += kOpcodes;
  for (const Opcode& row : opcodes()) out += opcode_text(row);
  out += ".SH EXIT STATUS\n";
  for (const StatusMeaning& row : statuses())
    out += item(std::to_string(row.status), "", fmt::format("{}.", row.meaning));
  return complain(print(out + kEnd));
}

}  // namespace atd::client
