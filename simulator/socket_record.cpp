#include "simulator/socket_record.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <string.h>
#include <sys/socket.h>
#include <sysutils/SocketClient.h>
#include <time.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "simulator/simulated_device.h"

namespace atd::sim {

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kReadSize = 16382;

std::string now() {
  struct timespec time;
  struct tm utc;
  char seconds[32], whole[64];
  SimulatedDevice::current().clock.get(CLOCK_REALTIME, &time);
  gmtime_r(&time.tv_sec, &utc);
  strftime(seconds, sizeof seconds, "%Y-%m-%dT%H:%M:%S", &utc);
  snprintf(whole, sizeof whole, "%s.%06ldZ", seconds, time.tv_nsec / 1000);
  return whole;
}

// The bytes as text, or {"hex": ...} where they are not UTF-8.
Json text_or_hex(const std::string& bytes) {
  Json text = bytes;
  try {
    text.dump();
    return text;
  } catch (const Json::type_error&) {
    std::string hex;
    for (unsigned char byte : bytes) {
      hex += "0123456789abcdef"[byte >> 4];
      hex += "0123456789abcdef"[byte & 15];
    }
    return {{"hex", hex}};
  }
}

// Has a read of the socket counted down from `offset`; -1 for no longer.
void set_peek_offset(int fd, int offset) { setsockopt(fd, SOL_SOCKET, SO_PEEK_OFF, &offset, sizeof offset); }

}  // namespace

std::unique_ptr<SocketRecord> SocketRecord::open(const std::string& path, std::string* error) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0660);
  if (fd >= 0) return std::unique_ptr<SocketRecord>(new SocketRecord(fd));
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
  write_event(connection, "connect");
}

void SocketRecord::disconnected(const SocketClient* client) {
  std::lock_guard guard(lock_);
  if (const Connection* connection = find(client)) write_event(*connection, "disconnect");
  connections_.erase(client);
}

void SocketRecord::before_read(SocketClient* client) {
  char bytes[kReadSize];
  const int fd = client->getSocket();
  const ssize_t size = recv(fd, bytes, sizeof bytes, MSG_PEEK | MSG_DONTWAIT);
  // The offset of the next peek goes down by what a read takes, which tells afterwards how much that was.
  set_peek_offset(fd, INT_MAX);
  std::lock_guard guard(lock_);
  const auto position = connections_.find(client);
  if (position == connections_.end()) return;
  position->second.seen = size > 0 ? static_cast<size_t>(size) : 0;
  if (size <= 0) return;
  Json json = {{"time", now()}, {"dir", "in"}, {"client", position->second.number}};
  json["bytes"] = text_or_hex(std::string(bytes, static_cast<size_t>(size)));
  write_line(json.dump());
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
  if (connection && taken > connection->seen) write_event(*connection, "missed", taken - connection->seen);
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

void SocketRecord::write_event(const Connection& connection, const char* event, size_t count) {
  Json json = {{"time", now()}, {"dir", "in"}, {"client", connection.number}, {"event", event}};
  if (count > 0) json["count"] = count;
  write_line(json.dump());
}

void SocketRecord::write_message(int number, const struct iovec* parts, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text.append(static_cast<const char*>(parts[i].iov_base), parts[i].iov_len);
  if (text.ends_with('\0')) text.pop_back();
  Json json = {{"time", now()}, {"dir", "out"}, {"client", number == 0 ? Json() : Json(number)}};
  const size_t digits = text.find_first_not_of("0123456789");
  const bool coded = digits > 0 && digits < 9 && text[digits] == ' ';
  json["code"] = coded ? Json(std::stoi(text.substr(0, digits))) : Json();
  json["text"] = text_or_hex(coded ? text.substr(digits + 1) : text);
  write_line(json.dump());
}

// One write a line, so that nothing is lost when the daemon is killed.
void SocketRecord::write_line(const std::string& line) {
  const std::string whole = line + "\n";
  if (fd_ < 0 || write(fd_, whole.data(), whole.size()) == static_cast<ssize_t>(whole.size())) return;
  __android_log_print(ANDROID_LOG_ERROR, "SocketRecord", "the recording ends here: %s", strerror(errno));
  close(fd_);
  fd_ = -1;
}

}  // namespace atd::sim
