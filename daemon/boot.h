// What the daemon does when it starts, on a phone and on a desktop alike.
#pragma once

namespace atd {

// Opens the factory items and the modem interface, sets the properties of the boot mode, copies the modem's IMEI and
// MEID to their items, erases the cache partition where a factory reset asks for it, and serves the socket. None of the
// former failures keeps the daemon from its socket: most requests still work, and the modem is asked again. Ends the
// process with status 1 when the socket cannot be served.
void boot();

// Goes on with what the last run has begun: a power-off that waits for the cable, and, after the wipe of a factory
// reset, the wait for the end of the boot and of the setup wizard. May take as long as the daemon runs, so it wants a
// thread.
void resume();

}  // namespace atd
