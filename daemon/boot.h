// What every daemon does before it serves.
#pragma once

namespace atd {

// Opens the factory items and the modem interface, erases the cache partition where a factory reset asks for it, copies
// the modem's IMEI and MEID to their items, and serves the socket. None of the former failures keeps the daemon from
// its socket: most requests still work, and the modem is asked again. Ends the process with status 1 when the socket
// cannot be served.
void boot();

// What follows once the daemon serves: after the wipe of a factory reset, waits for the end of the boot and watches for
// the end of the setup wizard. May take as long as the daemon runs, so it wants a thread.
void finish_reset();

}  // namespace atd
