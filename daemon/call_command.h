// `atd call`: a function of the library by name, in a process of its own.
#pragma once

namespace atd {

// Runs [NAME [ARGUMENT...]] [--json] [--yes] [--help] and prints what it tells; the exit status. Without a name it
// shows the functions. The factory items and the modem interface are opened before a call, the socket is not. Returns
// when the threads that the call started have ended.
int call_command(int count, const char* const* words);

}  // namespace atd
