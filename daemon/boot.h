// What every daemon does before it serves.
#pragma once

namespace atd {

// Opens the factory items and the modem interface, copies the modem's IMEI and MEID to their items, and serves the
// socket. None of the former failures keeps the daemon from its socket: most requests still work, and the modem is
// asked again. Ends the process with status 1 when the socket cannot be served.
void boot();

}  // namespace atd
