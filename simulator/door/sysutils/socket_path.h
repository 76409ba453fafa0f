// Where a socket service listens: the descriptor that init hands over, or a socket file of the simulated phone.
#pragma once

#include <sys/types.h>

#include <string>

namespace atd::sim {

// The descriptor that the environment hands over for the name, checked to be a unix stream socket that listens or not
// as `listening` says, and now closed on exec; -1 with errno: ENOENT when there is none, EINVAL, EBADF or ENOTSOCK when
// it is unfit (it stays open then).
int inherited_socket(const std::string& name, bool listening);

// A new socket bound to "/dev/socket/<name>" with mode 0660, not yet listening; its file's place on the desktop in
// *path, and the file's inode in *inode. The file of a dead socket is replaced. The caller closes the socket and
// removes the file. -1 with errno, and *path and *inode as they were: EINVAL for a name that is not a file name,
// ENAMETOOLONG, EADDRINUSE when someone listens there or the file is not a socket.
int bind_device_socket(const std::string& name, std::string* path, ino_t* inode);

}  // namespace atd::sim
