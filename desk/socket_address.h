// The address of a local socket by its path, however long that is.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <string>

namespace atd {

// An address holds 108 bytes. A longer path is reached through a descriptor of its folder, which stays open for as long
// as the object lives.
class SocketAddress {
 public:
  explicit SocketAddress(const std::string& path);
  ~SocketAddress();
  SocketAddress(const SocketAddress&) = delete;
  SocketAddress& operator=(const SocketAddress&) = delete;

  // 0, or the error number for a path that has no address.
  int error() const { return error_; }

  const struct sockaddr* get() const { return reinterpret_cast<const struct sockaddr*>(&address_); }
  socklen_t size() const { return sizeof address_; }

 private:
  struct sockaddr_un address_ = {};
  int folder_ = -1;
  int error_ = 0;
};

// Connects to the local stream socket at a path; a descriptor that the caller closes, or -1 with errno.
int connect_to(const std::string& path);

}  // namespace atd
