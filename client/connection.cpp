#include "client/connection.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "desk/socket_address.h"

namespace atd::client {
namespace {

using namespace std::chrono_literals;

constexpr size_t kReadSize = 16384;
constexpr size_t kMessageMax = 1 << 20;

std::chrono::nanoseconds left_until(Deadline deadline) {
  return std::max<std::chrono::nanoseconds>(deadline - std::chrono::steady_clock::now(), 0ns);
}

}  // namespace

Deadline in_seconds(double seconds) {
  if (seconds > 365.0 * 86400) return Deadline::max();
  return std::chrono::steady_clock::now() +
         std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds));
}

bool pause_before(Deadline deadline) {
  constexpr auto kPause = 20ms;
  if (std::chrono::steady_clock::now() + kPause > deadline) return false;
  std::this_thread::sleep_for(kPause);
  return true;
}

int Connection::open(const std::string& path, Deadline deadline) {
  close();
  const SocketAddress address(path);
  int error = address.error();
  if (error == 0) {
    fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd_ < 0) error = errno;
  }
  while (error == 0 && connect(fd_, address.get(), address.size()) != 0) {
    // A busy daemon's full queue gives EAGAIN, and poll() cannot wait for room in it.
    if (errno != EAGAIN && errno != EINTR) error = errno;
    else if (left_until(deadline) == 0ns) error = ETIMEDOUT;
    else std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(10ms, left_until(deadline)));
  }
  if (error != 0) close();
  return error;
}

void Connection::close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  refusals_due_ = 0;
  splitter_ = Splitter();
}

Wait Connection::wait_for(short events, Deadline deadline, int wake_fd) {
  pollfd fds[] = {{fd_, events, 0}, {wake_fd, POLLIN, 0}};
  for (;;) {
    timespec left = {};
    if (deadline != Deadline::max()) {
      auto nanoseconds = left_until(deadline).count();
      left = {static_cast<time_t>(nanoseconds / 1000000000), static_cast<long>(nanoseconds % 1000000000)};
    }
    int ready = ppoll(fds, 2, deadline == Deadline::max() ? nullptr : &left, nullptr);
    if (ready == 0) return Wait::timed_out;
    if (ready > 0) return fds[1].revents != 0 ? Wait::woken : Wait::message;
    if (errno != EINTR) return Wait::gone;
  }
}

int Connection::send(const std::string& line, Deadline deadline) {
  if (line.size() > kLineMax) return EMSGSIZE;
  return send_bytes(line + '\0', deadline);
}

int Connection::send_bytes(const std::string& bytes, Deadline deadline) {
  for (size_t at = 0; at < bytes.size();) {
    ssize_t sent = ::send(fd_, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0) {
      at += sent;
    } else if (errno == EAGAIN) {
      if (wait_for(POLLOUT, deadline, -1) == Wait::timed_out) return ETIMEDOUT;
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

bool Connection::all_read() const {
  int left = 0;
  return ioctl(fd_, SIOCOUTQ, &left) != 0 || left == 0;
}

Wait Connection::next(Message* message, Deadline deadline, int wake_fd) {
  while (!splitter_.next(message)) {
    if (splitter_.pending() > kMessageMax) return Wait::gone;
    Wait wait = wait_for(POLLIN, deadline, wake_fd);
    if (wait != Wait::message) return wait;
    char bytes[kReadSize];
    ssize_t size = recv(fd_, bytes, sizeof bytes, MSG_DONTWAIT);
    if (size == 0 || (size < 0 && errno != EAGAIN && errno != EINTR)) return Wait::gone;
    if (size > 0) splitter_.add(bytes, size);
  }
  return Wait::message;
}

Wait Connection::settle(Deadline deadline) {
  int error = send("ping", deadline);
  if (error != 0) return error == ETIMEDOUT ? Wait::timed_out : Wait::gone;
  ++refusals_due_;
  Message message;
  while (refusals_due_ > 0) {
    Wait wait = next(&message, deadline);
    if (wait != Wait::message) return wait;
    if (message.code == kRefusedCode) --refusals_due_;
  }
  return Wait::message;
}

ExchangeLock::~ExchangeLock() {
  if (fd_ >= 0) ::close(fd_);
}

bool ExchangeLock::take(const std::string& socket, Deadline deadline) {
  if (access(socket.c_str(), F_OK) != 0) return true;
  fd_ = ::open((socket + ".lock").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0660);
  if (fd_ < 0) return true;
  std::chrono::nanoseconds pause = 1ms;
  while (flock(fd_, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) return true;
    if (left_until(deadline) == 0ns) return false;
    std::this_thread::sleep_for(std::min(pause, left_until(deadline)));
    pause = std::min<std::chrono::nanoseconds>(pause * 2, 20ms);
  }
  return true;
}

}  // namespace atd::client
