#include "simulator/door/sysutils/socket_path.h"

#include <errno.h>
#include <fcntl.h>
#include <platform_port.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <charconv>

#include "desk/socket_address.h"

namespace atd::sim {

namespace {

constexpr const char* kFolder = "/dev/socket";

int fail(int error) {
  errno = error;
  return -1;
}

bool read_option(int fd, int option, int* value) {
  socklen_t size = sizeof(*value);
  return getsockopt(fd, SOL_SOCKET, option, value, &size) == 0;
}

// A socket file whose owner died refuses connections; connecting to any other file is refused, too.
bool is_stale(int folder, const char* name, const SocketAddress& address) {
  struct stat file;
  if (fstatat(folder, name, &file, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISSOCK(file.st_mode)) return false;
  int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (probe == -1) return false;
  bool refused = connect(probe, address.get(), address.size()) == -1 && errno == ECONNREFUSED;
  close(probe);
  return refused;
}

// Binds and sets the mode before anyone can connect; 0, or an error number, and then it leaves no file.
int bind_file(int fd, int folder, const std::string& path, const char* name) {
  const SocketAddress address(path);
  if (address.error() != 0) return address.error();
  if (bind(fd, address.get(), address.size()) == -1) {
    if (errno != EADDRINUSE) return errno;
    if (!is_stale(folder, name, address)) return EADDRINUSE;
    if (unlinkat(folder, name, 0) == -1 || bind(fd, address.get(), address.size()) == -1) return errno;
  }
  if (fchmodat(folder, name, 0660, 0) == 0) return 0;
  const int error = errno;
  unlinkat(folder, name, 0);
  return error;
}

}  // namespace

int inherited_socket(const std::string& name, bool listening) {
  const char* text = getenv(("ANDROID_SOCKET_" + name).c_str());
  if (text == nullptr) return fail(ENOENT);
  const char* end = text + strlen(text);
  int fd = -1;
  const auto [rest, error] = std::from_chars(text, end, fd);
  if (error != std::errc() || rest != end || *text == '-') return fail(EINVAL);

  int domain, type, accepts;
  if (!read_option(fd, SO_DOMAIN, &domain) || !read_option(fd, SO_TYPE, &type) ||
      !read_option(fd, SO_ACCEPTCONN, &accepts)) {
    return -1;
  }
  // Init hands over a socket that is bound and does not listen yet, so only a connected one is unfit for listening.
  struct sockaddr_un peer;
  socklen_t size = sizeof(peer);
  bool connected = getpeername(fd, reinterpret_cast<struct sockaddr*>(&peer), &size) == 0;
  if (domain != AF_UNIX || type != SOCK_STREAM || (listening ? connected : accepts != 0)) return fail(EINVAL);
  return fcntl(fd, F_SETFD, FD_CLOEXEC) == 0 ? fd : -1;
}

int bind_device_socket(const std::string& name, std::string* path, ino_t* inode) {
  if (name.empty() || name.find('/') != std::string::npos) return fail(EINVAL);
  mkdir(device_path("/dev"), 0755);
  mkdir(device_path(kFolder), 0755);
  int folder = open(device_path(kFolder), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (folder == -1) return -1;

  const std::string place(device_entry((std::string(kFolder) + "/" + name).c_str()));
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int error = fd == -1 ? errno : bind_file(fd, folder, place, name.c_str());
  struct stat file = {};
  fstatat(folder, name.c_str(), &file, AT_SYMLINK_NOFOLLOW);
  close(folder);
  if (error != 0) {
    if (fd != -1) close(fd);
    return fail(error);
  }
  *path = place;
  *inode = file.st_ino;
  return fd;
}

}  // namespace atd::sim
