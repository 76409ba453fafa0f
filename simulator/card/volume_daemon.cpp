#include "simulator/card/volume_daemon.h"

#include <android/log.h>
#include <errno.h>
#include <limits.h>
#include <linux/sockios.h>
#include <poll.h>
#include <string.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>

#include "desk/socket_address.h"
#include "desk/words.h"

namespace atd::sim {

namespace {

constexpr size_t kRequestMax = 1024;
constexpr int kBacklog = 8;
constexpr size_t kPiece = 5;
constexpr int kPatienceUs = 1000000;  // with a client that does not read the pieces of an answer
constexpr int kPauseMs = 100;         // after a client that could not be taken

constexpr int kNoCommand = 500, kWrongArguments = 501;

using Words = std::vector<std::string>;

bool is_number(const std::string& word) {
  int number;
  return read_number(word, 0, INT_MAX, &number);
}

// The arguments begin at the third word: "volume mount ID".
constexpr struct {
  const char* name;
  size_t least, most;  // arguments
  bool can_fail;       // by a fault
  int (*run)(Card& card, const Words& words);
} kCommands[] = {
    {"mount", 1, 3, true,
     [](Card& card, const Words& words) {
       for (size_t i = 3; i < words.size(); ++i) {
         if (!is_number(words[i])) return kWrongArguments;
       }
       return card.mount(words[2]);
     }},
    {"unmount", 1, 1, true, [](Card& card, const Words& words) { return card.unmount(words[2]); }},
    {"format", 2, 2, true,
     [](Card& card, const Words& words) {
       if (words[3] != "vfat" && words[3] != "auto") return kWrongArguments;
       return card.format(words[2]);
     }},
    {"partition", 2, 2, true,
     [](Card& card, const Words& words) { return words[3] == "public" ? card.partition(words[2]) : kWrongArguments; }},
    {"reset", 0, 0, false, [](Card& card, const Words&) { return card.reset(); }},
};

const char* text_of(int code) {
  switch (code) {
    case kVolumeOkay: return "Command succeeded";
    case kVolumeNoMedia: return "No media";
    case kVolumeBlank: return "Media is blank";
    case kVolumeCorrupt: return "Media is corrupt";
    case kVolumeNotMounted: return "Volume is not mounted";
    case kVolumeBusy: return "Volume is busy";
    case kVolumeNotFound: return "Volume not found";
    case kNoCommand: return "Command not recognized";
    case kWrongArguments: return "Wrong arguments";
    default: return "Command failed";
  }
}

// Waits until the other side has read all that was sent; false when it does not.
bool await_read(int fd) {
  int unread = 0;
  for (int us = 0; us < kPatienceUs && ioctl(fd, SIOCOUTQ, &unread) == 0 && unread > 0; us += 100) usleep(100);
  // A reader that has the bytes still looks for more of them before its call ends.
  usleep(1000);
  return unread == 0;
}

}  // namespace

VolumeDaemon::VolumeDaemon(const std::string& root, Card& card, Faults& faults)
    : path_(root + "/dev/socket/vold"), card_(card), faults_(faults), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void VolumeDaemon::start() {
  std::lock_guard guard(lock_);
  open_locked();
  thread_ = std::thread([this] { serve(); });
}

void VolumeDaemon::stop() {
  if (!thread_.joinable()) return;
  {
    std::lock_guard guard(lock_);
    ends_ = true;
    close_locked();
  }
  wake();
  thread_.join();
  for (const Client& client : clients_) close(client.fd);
  for (const int fd : closing_) close(fd);
  close(wake_);
}

void VolumeDaemon::wake() const { eventfd_write(wake_, 1); }

void VolumeDaemon::behave(DaemonManner manner) {
  std::lock_guard guard(lock_);
  if (manner == DaemonManner::gone && manner_ != DaemonManner::gone) close_locked();
  if (manner != DaemonManner::gone && manner_ == DaemonManner::gone) open_locked();
  manner_ = manner;
  wake();
}

DaemonManner VolumeDaemon::manner() const {
  std::lock_guard guard(lock_);
  return manner_;
}

void VolumeDaemon::open_locked() {
  // The process that made the file is dead: this one has the phone's lock.
  unlink(path_.c_str());
  const SocketAddress address(path_);
  listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (address.error() != 0) errno = address.error();
  else if (listener_ >= 0 && bind(listener_, address.get(), address.size()) == 0 && chmod(path_.c_str(), 0660) == 0 &&
           listen(listener_, kBacklog) == 0)
    return;
  __android_log_print(ANDROID_LOG_ERROR, "vold", "%s: %s", path_.c_str(), strerror(errno));
  if (listener_ >= 0) closing_.push_back(listener_);
  listener_ = -1;
}

void VolumeDaemon::close_locked() {
  hang_up_locked();
  if (listener_ < 0) return;
  unlink(path_.c_str());
  shutdown(listener_, SHUT_RDWR);
  closing_.push_back(listener_);
  listener_ = -1;
}

void VolumeDaemon::replace_locked() {
  shutdown(listener_, SHUT_RDWR);
  closing_.push_back(listener_);
  open_locked();
}

void VolumeDaemon::hang_up_locked() {
  for (Client& client : clients_) {
    client.gone = true;
    shutdown(client.fd, SHUT_RDWR);
  }
}

void VolumeDaemon::hang_up() {
  std::lock_guard guard(lock_);
  hang_up_locked();
  wake();
}

void VolumeDaemon::broadcast(const std::string& text) {
  std::lock_guard guard(lock_);
  for (Client& client : clients_) send_locked(client, text.c_str(), text.size() + 1);
}

void VolumeDaemon::send_locked(Client& client, const char* bytes, size_t size) {
  if (client.gone) return;
  const ssize_t sent = send(client.fd, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent == static_cast<ssize_t>(size)) return;
  client.gone = true;
  shutdown(client.fd, SHUT_RDWR);
}

void VolumeDaemon::serve() {
  for (;;) {
    std::vector<struct pollfd> ready = {{wake_, POLLIN, 0}};
    int listener;
    {
      std::lock_guard guard(lock_);
      for (const int fd : closing_) close(fd);
      closing_.clear();
      clients_.remove_if([](const Client& client) { return client.gone && close(client.fd) == 0; });
      if (ends_) return;
      listener = listener_;
      for (const Client& client : clients_) ready.push_back({client.fd, POLLIN, 0});
    }
    ready.push_back({listener, POLLIN, 0});  // a negative one is left out
    if (poll(ready.data(), ready.size(), -1) < 0) continue;
    eventfd_t woken;
    if (ready[0].revents) eventfd_read(wake_, &woken);
    auto client = clients_.begin();
    for (size_t i = 1; i + 1 < ready.size(); ++i, ++client) {
      if (ready[i].revents) read_client(*client);
    }
    if (ready.back().revents) accept_client(listener);
  }
}

void VolumeDaemon::accept_client(int listener) {
  const int fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
  if (fd < 0) {
    // The reason may last, so this does not try again at once.
    if (errno == EMFILE || errno == ENFILE) poll(nullptr, 0, kPauseMs);
    return;
  }
  std::lock_guard guard(lock_);
  // A daemon that has gone meanwhile takes nobody.
  if (listener == listener_) clients_.push_back({fd, ""});
  else close(fd);
}

void VolumeDaemon::read_client(Client& client) {
  char bytes[kRequestMax];
  const ssize_t size = recv(client.fd, bytes, sizeof bytes, MSG_DONTWAIT);
  if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (size > 0) client.pending.append(bytes, static_cast<size_t>(size));
  for (size_t end; size > 0 && (end = client.pending.find('\0')) != std::string::npos;) {
    const std::string request = client.pending.substr(0, end);
    client.pending.erase(0, end + 1);
    if (manner() == DaemonManner::silent) continue;
    answer(client, carry_out(request));
  }
  if (size > 0 && client.pending.size() < kRequestMax) return;
  std::lock_guard guard(lock_);
  client.gone = true;
  shutdown(client.fd, SHUT_RDWR);
}

// Does what a request says; its answer.
std::string VolumeDaemon::carry_out(const std::string& request) {
  std::string_view rest = request;
  const std::string number(take_word(&rest));
  Words words;
  for (std::string_view word; !(word = take_word(&rest)).empty();) words.emplace_back(word);
  auto result = [&]() -> int {
    if (!is_number(number) || words.size() < 2 || words[0] != "volume") return kNoCommand;
    for (const auto& command : kCommands) {
      if (words[1] != command.name) continue;
      const size_t arguments = words.size() - 2;
      if (arguments < command.least || arguments > command.most) return kWrongArguments;
      if (command.can_fail && faults_.hits(Call::volume, command.name)) return kVolumeFailed;
      return command.run(card_, words);
    }
    return kNoCommand;
  };
  const int code = result();
  return std::to_string(code) + " " + (is_number(number) ? number : "0") + " " + text_of(code);
}

void VolumeDaemon::answer(Client& client, const std::string& text) {
  if (manner() == DaemonManner::chatty) broadcast("640 disk:8,0 8");
  std::lock_guard guard(lock_);
  const size_t size = text.size() + 1;
  switch (manner_) {
    case DaemonManner::crash:
      send_locked(client, text.c_str(), size / 2);
      // Who reconnects at once meets the next one, and who was not yet taken is not taken by it.
      if (listener_ >= 0) replace_locked();
      hang_up_locked();
      client.pending.clear();
      manner_ = DaemonManner::normal;
      return;
    case DaemonManner::split:
      for (size_t at = 0; at < size; at += kPiece) {
        send_locked(client, text.c_str() + at, std::min(kPiece, size - at));
        if (client.gone || !await_read(client.fd)) return;
      }
      return;
    default: send_locked(client, text.c_str(), size);
  }
}

}  // namespace atd::sim
