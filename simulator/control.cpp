#include "simulator/control.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <system_error>

#include "desk/socket_address.h"
#include "desk/verb.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"

namespace atd::sim {

namespace {

constexpr int kBacklog = 16;
constexpr std::chrono::milliseconds kPause(100);
constexpr std::chrono::seconds kPatience(1);

// Reads up to the first line end; false when the caller is gone before that, or sends more than a request may have.
bool read_line(int fd, std::string* line) {
  char bytes[16384];
  line->clear();
  while (line->size() <= kControlRequestMax) {
    const ssize_t size = recv(fd, bytes, sizeof bytes, 0);
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return false;
    line->append(bytes, static_cast<size_t>(size));
    const size_t end = line->find('\n', line->size() - static_cast<size_t>(size));
    if (end == line->npos) continue;
    line->resize(end);
    return true;
  }
  return false;
}

bool send_all(int fd, const std::string& bytes) {
  for (size_t at = 0; at < bytes.size();) {
    const ssize_t sent = send(fd, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    at += static_cast<size_t>(sent);
  }
  return true;
}

}  // namespace

std::unique_ptr<Control> Control::bind(SimulatedDevice& device, std::string* error) {
  const std::string path = device.root() + kControlSocket;
  auto fail = [&](int number) {
    *error = path + ": " + strerror(number);
    return nullptr;
  };
  // The process that made the file is dead: this one has the phone's lock.
  unlink(path.c_str());
  const SocketAddress address(path);
  if (address.error() != 0) return fail(address.error());
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  // Nobody can connect before it listens.
  if (fd < 0 || ::bind(fd, address.get(), address.size()) != 0 || chmod(path.c_str(), 0600) != 0 ||
      listen(fd, kBacklog) != 0) {
    const int number = errno;
    if (fd >= 0) close(fd);
    return fail(number);
  }
  return std::unique_ptr<Control>(new Control(device, path, fd));
}

Control::Control(SimulatedDevice& device, std::string path, int fd)
    : device_(device), path_(std::move(path)), fd_(fd) {}

void Control::start() {
  acceptor_ = std::thread([this] { accept_callers(); });
}

Control::~Control() {
  hang_up();
  if (acceptor_.joinable()) acceptor_.join();
  {
    std::unique_lock guard(lock_);
    auto all_answered = [&] {
      return std::all_of(callers_.begin(), callers_.end(), [](const Caller& caller) { return caller.fd < 0; });
    };
    answered_.wait_for(guard, kPatience, all_answered);
    // A caller that does not read is not waited for.
    for (Caller& caller : callers_) {
      if (caller.fd >= 0) shutdown(caller.fd, SHUT_RDWR);
    }
  }
  for (Caller& caller : callers_) caller.thread.join();
  close(fd_);
  unlink(path_.c_str());
}

void Control::hang_up() {
  std::lock_guard guard(lock_);
  if (hung_up_.exchange(true)) return;
  for (Caller& caller : callers_) {
    if (caller.fd >= 0) shutdown(caller.fd, SHUT_RD);
  }
  shutdown(fd_, SHUT_RDWR);
}

void Control::accept_callers() {
  for (;;) {
    const int fd = accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
    const int error = errno;
    std::unique_lock guard(lock_);
    join_done_locked();
    if (hung_up_) {
      if (fd >= 0) close(fd);
      return;
    }
    if (fd >= 0) {
      start_locked(fd);
    } else if (error != EINTR && error != ECONNABORTED) {
      __android_log_print(ANDROID_LOG_ERROR, "control", "cannot take a caller: %s", strerror(error));
      // The reason may last, so this does not try again at once.
      answered_.wait_for(guard, kPause);
    }
  }
}

void Control::start_locked(int fd) {
  Caller& caller = callers_.emplace_back();
  caller.fd = fd;
  try {
    caller.thread = std::thread([this, &caller] { answer(caller); });
  } catch (const std::system_error& error) {
    __android_log_print(ANDROID_LOG_ERROR, "control", "cannot answer a caller: %s", error.what());
    close(fd);
    callers_.pop_back();
  }
}

// Joins and removes the callers that have been answered.
void Control::join_done_locked() {
  for (auto caller = callers_.begin(); caller != callers_.end();) {
    if (caller->fd >= 0) {
      ++caller;
      continue;
    }
    caller->thread.join();
    caller = callers_.erase(caller);
  }
}

void Control::answer(Caller& caller) {
  const int fd = caller.fd;
  std::string line;
  ControlRequest request;
  auto send = [&](const ControlReply& reply) { return (reply.last || !hung_up_) && send_all(fd, to_line(reply)); };
  if (read_line(fd, &line)) {
    const bool is_request = from_line(line, &request);
    // Nobody closes this one: its caller sees the end of the process as the end of the connection.
    if (is_request && request.words == std::vector<std::string>{"stop"}) fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (is_request) run_verb(device_, request, send);
    else send({.out = "", .last = true, .status = kUsage, .error = "this is not a request of the control socket"});
  }
  std::lock_guard guard(lock_);
  close(fd);
  caller.fd = -1;
  answered_.notify_all();
}

void run_verb(SimulatedDevice& device, const ControlRequest& request,
              const std::function<bool(const ControlReply& reply)>& send) {
  std::vector<std::string> arguments = request.words;
  std::string error;
  const Verb* verb = find_verb(&arguments, &error);
  VerbCall call(std::move(arguments), request, send);
  if (verb) verb->run(device, call);
  else call.fail(kUsage, error);
  call.end();
}

}  // namespace atd::sim
