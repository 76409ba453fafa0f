// The connection to a local socket of the phone. Lines go out and messages come in, each before a deadline of the
// monotonic clock.
#pragma once

#include <chrono>
#include <string>

#include "desk/message.h"
#include "transport/wire.h"

namespace atd::client {

using Deadline = std::chrono::steady_clock::time_point;

// The moment `seconds` from now, which are at least 0; no deadline when they are more than a year.
Deadline in_seconds(double seconds);

// Sleeps as long as suits one who tries again and again; false, at once, when the deadline comes before that.
bool pause_before(Deadline deadline);

// What ended a wait for a message.
enum class Wait {
  message,    // one came
  timed_out,  // the deadline
  gone,       // the daemon closed the connection, or sent a megabyte without a NUL
  woken,      // the caller's descriptor became readable
};

class Connection {
 public:
  Connection() = default;
  explicit Connection(int fd) : fd_(fd) {}  // takes over a connected socket
  ~Connection() { close(); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Connects to the local socket at `path`, which may be longer than a socket address. Returns 0 or an error number,
  // ETIMEDOUT when the deadline came first.
  int open(const std::string& path, Deadline deadline);

  void close();
  bool is_open() const { return fd_ >= 0; }
  int fd() const { return fd_; }

  // Sends the line, at most kLineMax bytes, and its NUL. Returns as open() does.
  int send(const std::string& line, Deadline deadline);

  // Sends bytes as they are, in one piece where the daemon has room for them. Returns as open() does.
  int send_bytes(const std::string& bytes, Deadline deadline);

  // Whether part of a message has come, and not its end.
  bool is_cut() const { return splitter_.pending() > 0; }

  // Whether the daemon has read everything that was sent here.
  bool all_read() const;

  // Takes the next message into *message. With a `wake_fd` it also ends when that becomes readable. A message that is
  // there already is taken whatever the deadline is.
  Wait next(Message* message, Deadline deadline, int wake_fd = -1);

  // Waits until the daemon has dealt with everything that was sent here before, and drops what it said meanwhile;
  // Wait::message when that is done. It sends a word that the daemon refuses, and waits for the refusal, which comes to
  // this client alone.
  Wait settle(Deadline deadline);

 private:
  Wait wait_for(short events, Deadline deadline, int wake_fd);

  int fd_ = -1;
  int refusals_due_ = 0;  // of words that settle() has sent
  Splitter splitter_;
};

// An answer does not say whom it is for, so only one client at a time may wait for one. This is an advisory lock on
// "<socket>.lock", held until the end of its scope.
class ExchangeLock {
 public:
  ExchangeLock() = default;
  ~ExchangeLock();
  ExchangeLock(const ExchangeLock&) = delete;
  ExchangeLock& operator=(const ExchangeLock&) = delete;

  // False when others held the lock until the deadline. Where there is no socket, or the file cannot be opened, there
  // is no lock, and it returns true.
  bool take(const std::string& socket, Deadline deadline);

 private:
  int fd_ = -1;
};

}  // namespace atd::client
