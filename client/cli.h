// The command line of atdctl: its commands, options and help.
#pragma once

namespace atd::client {

// Parses the arguments and runs the command they name; the exit status. Help goes to standard output; a mistake in the
// arguments costs one line on standard error.
int run(int argc, char** argv);

}  // namespace atd::client
