// A recording of the daemon's socket: what its clients sent and what it told them, one JSON object per line.
#pragma once

#include <stddef.h>
#include <sys/uio.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "desk/recording.h"
#include "simulator/clock.h"

class SocketClient;

namespace atd::sim {

class SocketRecord {
 public:
  // Opens the file to append to it, and makes it when there is none; null with the reason in *error.
  // The clock stays the caller's and outlives the recording.
  static std::unique_ptr<SocketRecord> open(const std::string& path, Clock& clock, std::string* error);
  ~SocketRecord();
  SocketRecord(const SocketRecord&) = delete;
  SocketRecord& operator=(const SocketRecord&) = delete;

  // A connection began, and gets the next number, the first is 1; a connection ended. The calls below ignore a
  // connection that has not begun or has ended.
  void connected(const SocketClient* client);
  void disconnected(const SocketClient* client);

  // The service is about to read a connection, and has done so. It reads once, at most 16382 bytes. Bytes that come
  // between the two calls are not recorded; the record says how many they were.
  void before_read(SocketClient* client);
  void after_read(SocketClient* client);

  // A message with its NUL goes out to one connection, or to all of them.
  void reply(const SocketClient* client, const struct iovec* parts, int count);
  void broadcast(const struct iovec* parts, int count);

 private:
  struct Connection {
    int number;
    size_t seen;  // bytes of the read that is under way
  };

  SocketRecord(int fd, Clock& clock) : clock_(clock), fd_(fd) {}
  const Connection* find(const SocketClient* client) const;
  void write_event(Event::Kind kind, const Connection& connection, size_t count = 0);
  void write_message(int number, const struct iovec* parts, int count);
  void write(Event event);

  Clock& clock_;
  std::mutex lock_;
  int fd_;  // -1 once a write has failed
  int last_number_ = 0;
  std::map<const SocketClient*, Connection> connections_;
};

}  // namespace atd::sim
