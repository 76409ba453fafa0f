#include "simulator/socket_record.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <string.h>
#include <sys/socket.h>
#include <sysutils/SocketClient.h>
#include <unistd.h>

#include "desk/recording.h"
#include "transport/wire.h"

namespace atd::sim {

namespace {

constexpr size_t kReadSize = kLineMax + 1;

// Makes the socket count down from `offset` by the bytes of each read; -1 ends that.
void set_peek_offset(int fd, int offset) { setsockopt(fd, SOL_SOCKET, SO_PEEK_OFF, &offset, sizeof offset); }

}  // namespace

std::unique_ptr<SocketRecord> SocketRecord::open(const std::string& path, Clock& clock, std::string* error) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0660);
  if (fd >= 0) return std::unique_ptr<SocketRecord>(new SocketRecord(fd, clock));
  *error = path + ": " + strerror(errno);
  return nullptr;
}

SocketRecord::~SocketRecord() {
  if (fd_ >= 0) close(fd_);
}

void SocketRecord::connected(const SocketClient* client) {
  std::lock_guard guard(lock_);
  const Connection connection = {++last_number_, 0};
  connections_[client] = connection;
  write_event(Event::Kind::connect, connection);
}

void SocketRecord::disconnected(const SocketClient* client) {
  std::lock_guard guard(lock_);
  if (const Connection* connection = find(client)) write_event(Event::Kind::disconnect, *connection);
  connections_.erase(client);
}

void SocketRecord::before_read(SocketClient* client) {
  char bytes[kReadSize];
  const int fd = client->getSocket();
  const ssize_t size = recv(fd, bytes, sizeof bytes, MSG_PEEK | MSG_DONTWAIT);
  // A read lowers the offset of the next peek by the bytes that it takes; so it shows afterwards how many these were.
  set_peek_offset(fd, INT_MAX);
  std::lock_guard guard(lock_);
  const auto position = connections_.find(client);
  if (position == connections_.end()) return;
  position->second.seen = size > 0 ? static_cast<size_t>(size) : 0;
  if (size <= 0) return;
  Event event;
  event.kind = Event::Kind::input;
  event.client = position->second.number;
  event.bytes.assign(bytes, static_cast<size_t>(size));
  write(event);
}

void SocketRecord::after_read(SocketClient* client) {
  int offset = INT_MAX;
  socklen_t size = sizeof offset;
  const int fd = client->getSocket();
  getsockopt(fd, SOL_SOCKET, SO_PEEK_OFF, &offset, &size);
  set_peek_offset(fd, -1);
  const size_t taken = offset < 0 ? 0 : static_cast<size_t>(INT_MAX - offset);
  std::lock_guard guard(lock_);
  const Connection* connection = find(client);
  if (connection && taken > connection->seen) write_event(Event::Kind::missed, *connection, taken - connection->seen);
}

void SocketRecord::reply(const SocketClient* client, const struct iovec* parts, int count) {
  std::lock_guard guard(lock_);
  if (const Connection* connection = find(client)) write_message(connection->number, parts, count);
}

void SocketRecord::broadcast(const struct iovec* parts, int count) {
  std::lock_guard guard(lock_);
  write_message(0, parts, count);
}

const SocketRecord::Connection* SocketRecord::find(const SocketClient* client) const {
  const auto position = connections_.find(client);
  return position == connections_.end() ? nullptr : &position->second;
}

void SocketRecord::write_event(Event::Kind kind, const Connection& connection, size_t count) {
  Event event;
  event.kind = kind;
  event.client = connection.number;
  event.count = static_cast<int>(count);
  write(event);
}

void SocketRecord::write_message(int number, const struct iovec* parts, int count) {
  std::string bytes;
  for (int i = 0; i < count; ++i) bytes.append(static_cast<const char*>(parts[i].iov_base), parts[i].iov_len);
  if (bytes.ends_with('\0')) bytes.pop_back();
  Event event;
  event.client = number;
  event.message = to_message(std::move(bytes));
  write(event);
}

// One write a line, so that nothing is lost when the daemon is killed.
void SocketRecord::write(Event event) {
  clock_.get(CLOCK_REALTIME, &event.time);
  const std::string line = event_line(event);
  if (fd_ < 0 || ::write(fd_, line.data(), line.size()) == static_cast<ssize_t>(line.size())) return;
  __android_log_print(ANDROID_LOG_ERROR, "SocketRecord", "the recording ends here: %s", strerror(errno));
  close(fd_);
  fd_ = -1;
}

}  // namespace atd::sim
