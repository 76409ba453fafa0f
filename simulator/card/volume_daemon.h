// The phone's volume daemon: a server on the local socket "vold". A request is "SEQ COMMAND", its answer "CODE SEQ
// TEXT", and what everybody is told "CODE TEXT", each with a NUL at its end.
#pragma once

#include <atomic>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulator/card/card.h"
#include "simulator/faults.h"

namespace atd::sim {

// How the daemon deals with its clients from now on.
enum class DaemonManner {
  normal,
  crash,   // ends in the middle of the next answer, with all connections, and comes back as normal
  split,   // sends every answer in small pieces, each when the one before it has been read
  chatty,  // tells everybody of a disk before every answer
  silent,  // never answers, nor does what it is asked to
  gone,    // does not run: no connections, no socket
};

class VolumeDaemon {
 public:
  // The card and the faults are the phone's and outlive the daemon.
  VolumeDaemon(const std::string& root, Card& card, Faults& faults);

  ~VolumeDaemon() { stop(); }

  // Opens the socket and serves it, on a thread of its own.
  void start();

  // Closes all connections and the socket, for good.
  void stop();

  void behave(DaemonManner manner);
  DaemonManner manner() const;

  // Tells all clients; one that does not read is left out, and its connection ends.
  void broadcast(const std::string& text);

  // Ends all connections.
  void hang_up();

 private:
  struct Client {
    int fd;
    std::string pending;  // of a request that has no NUL yet
    bool gone = false;
  };

  void serve();
  void accept_client(int listener);
  void read_client(Client& client);
  std::string carry_out(const std::string& request);
  void answer(Client& client, const std::string& text);
  void send_locked(Client& client, const char* bytes, size_t size);
  void open_locked();
  void close_locked();
  void replace_locked();
  void hang_up_locked();
  void wake() const;

  const std::string path_;
  Card& card_;
  Faults& faults_;
  const int wake_;  // an event that ends the thread's wait
  mutable std::mutex lock_;
  DaemonManner manner_ = DaemonManner::normal;
  bool ends_ = false;
  int listener_ = -1;
  std::vector<int> closing_;   // listeners that the thread closes
  std::list<Client> clients_;  // only the thread adds and removes them
  std::thread thread_;
};

}  // namespace atd::sim
