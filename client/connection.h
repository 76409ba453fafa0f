// The connection to the daemon's socket: lines out, messages in, each before a deadline of the monotonic clock.
#pragma once

#include <chrono>
#include <string>

#include "desk/message.h"
#include "transport/wire.h"

namespace atd::client {

using Deadline = std::chrono::steady_clock::time_point;

// The moment that lies `seconds`, at least 0, from now; for ever when they are more than a year.
Deadline in_seconds(double seconds);

// What ended a wait for a message.
enum class Wait {
  message,    // one came
  timed_out,  // the deadline
  gone,       // the daemon closed the connection, or sent a megabyte without an end
  woken,      // the caller's descriptor became readable
};

class Connection {
 public:
  Connection() = default;
  explicit Connection(int fd) : fd_(fd) {}  // takes over a connected socket
  ~Connection() { close(); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Connects to the local socket at `path`, which may be longer than a socket address; 0, or an error number,
  // ETIMEDOUT when the deadline came first.
  int open(const std::string& path, Deadline deadline);

  void close();
  bool is_open() const { return fd_ >= 0; }
  int fd() const { return fd_; }

  // Sends the line, at most kLineMax bytes, and its NUL; 0, or an error number, ETIMEDOUT when the deadline came first.
  int send(const std::string& line, Deadline deadline);

  // Sends bytes as they are, in one piece where the daemon has room for it; result as above.
  int send_bytes(const std::string& bytes, Deadline deadline);

  // Whether the daemon has read everything that was sent here.
  bool all_read() const;

  // Takes the next message into *message; with a `wake_fd`, ends as well when that becomes readable. A message that
  // is there already is taken whatever the deadline is.
  Wait next(Message* message, Deadline deadline, int wake_fd = -1);

  // Waits until the daemon has dealt with everything that was sent here before, and drops what it said meanwhile:
  // Wait::message when that is so. It sends a word that the daemon refuses, to this client alone.
  Wait settle(Deadline deadline);

 private:
  Wait wait_for(short events, Deadline deadline, int wake_fd);

  int fd_ = -1;
  int refusals_due_ = 0;  // words of settle() that are not refused yet
  Splitter splitter_;
};

// Answers carry no sender, so only one client at a time may wait for one: an advisory lock on "<socket>.lock", held
// until the end of its scope.
class ExchangeLock {
 public:
  ExchangeLock() = default;
  ~ExchangeLock();
  ExchangeLock(const ExchangeLock&) = delete;
  ExchangeLock& operator=(const ExchangeLock&) = delete;

  // False when others held the lock until the deadline. Where the file can't be opened there is no lock, and true.
  bool take(const std::string& socket, Deadline deadline);

 private:
  int fd_ = -1;
};

}  // namespace atd::client
