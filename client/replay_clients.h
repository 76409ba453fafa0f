// The clients of a recording, played again: their connections to a daemon, and what it says to them.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "client/comparable.h"
#include "client/exchange.h"

namespace atd::client {

// Whether the daemon says that it ends. That is not an answer, since whoever ends the daemon causes it, and a replay
// leaves it out.
bool is_farewell(const Message& message);

// A message to all arrives once on every connection. It counts once, when the first connection has it.
class ReplayClients {
 public:
  ReplayClients(const Target& target, const Masks& masks) : target_(target), masks_(masks) {}

  // Connects a client by its number, again if it is connected, and waits until the daemon answers it. With `patient`,
  // waits for a daemon to start. Fails as atd::client::connect() does.
  Failure connect(int client, bool patient);

  // Collects what a client is told and disconnects it, if it is connected. Fails as connect() does.
  Failure disconnect(int client);

  // Sends a client's bytes as one piece, when the daemon has read all that was sent before. Fails with kNoDaemon or
  // kTimedOut.
  Failure send(int client, const std::string& bytes);

  // Takes the next message to a client alone, or with 0 to all, into *message. Fails with kTimedOut, or with kNoDaemon
  // when the daemon has ended.
  Failure take(int client, Comparable* message);

  // Collects what the daemon still says; nothing is taken after that. Fails as connect() does.
  Failure end();

  // After end(), the messages that nobody has taken.
  const std::deque<Comparable>& unasked() const { return unasked_; }

  // Waits until the daemon has ended, and drops the connections. Fails with kTimedOut.
  Failure await_end();

  // Collects messages until that moment.
  void pass_time(Deadline end);

  bool is_there(int client) const { return clients_.count(client) != 0; }
  bool has_ended() const { return ended_; }  // the daemon has
  bool is_empty() const { return clients_.empty(); }

 private:
  struct Client {
    Connection connection;
    bool gone = false;
    std::deque<Comparable> replies;  // to it alone
    std::deque<std::string> due;     // messages to all that another client has seen first
  };

  Failure settle();
  Failure await_read(Deadline deadline);
  Failure open(Connection& connection, Deadline deadline, bool patient);
  void collect(Client& client);
  bool await(const std::function<bool()>& done, Deadline deadline);

  const Target& target_;
  const Masks& masks_;
  std::map<int, std::unique_ptr<Client>> clients_;
  Connection bystander_;  // stays while the clients come and go, and sees the daemon end
  bool ended_ = false;    // the daemon has closed it
  std::deque<Comparable> broadcasts_;
  std::deque<Comparable> unasked_;
};

}  // namespace atd::client
