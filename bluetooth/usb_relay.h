// Low Energy commands that a tester sends through the USB port.
#pragma once

#pragma GCC visibility push(default)

// Has the controller carry out `length` bytes that were read from the port, and writes its reply, at most 1024 bytes,
// to the port's descriptor; 0 when the bytes are no such command, 1 when they are, also without a reply, or -1 when the
// reply cannot be written.
int bt_check_BleCmd(int fd, const unsigned char* data, int length);

#pragma GCC visibility pop
