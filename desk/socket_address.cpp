#include "desk/socket_address.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

namespace atd {

SocketAddress::SocketAddress(const std::string& path) {
  std::string name = path;
  if (path.size() >= sizeof address_.sun_path) {
    const size_t slash = path.rfind('/');
    const std::string parent = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    folder_ = open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder_ < 0) error_ = errno;
    name = "/proc/self/fd/" + std::to_string(folder_) + "/" + path.substr(slash + 1);
  }
  if (error_ == 0 && name.size() >= sizeof address_.sun_path) error_ = ENAMETOOLONG;
  if (error_ != 0) return;
  address_.sun_family = AF_UNIX;
  memcpy(address_.sun_path, name.c_str(), name.size() + 1);
}

SocketAddress::~SocketAddress() {
  if (folder_ >= 0) close(folder_);
}

int connect_to(const std::string& path) {
  const SocketAddress address(path);
  int error = address.error();
  const int fd = error == 0 ? socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0) : -1;
  if (fd >= 0 && connect(fd, address.get(), address.size()) == 0) return fd;
  if (error == 0) error = errno;
  if (fd >= 0) close(fd);
  errno = error;
  return -1;
}

}  // namespace atd
