// A socket service: one thread that accepts connections and tells of readable ones.
#pragma once

#include <poll.h>
#include <pthread.h>

#include <atomic>
#include <string>
#include <vector>

#include "SocketClient.h"

class SocketClientCommand {
 public:
  virtual ~SocketClientCommand() = default;
  virtual void runSocketCommand(SocketClient* client) = 0;
};

class SocketListener {
 public:
  // The socket by name: the descriptor in the environment variable ANDROID_SOCKET_<name> when there is one, which
  // startListener takes over, else "/dev/socket/<name>", which startListener binds with mode 0660. Without `listen` the
  // socket is itself the one connection.
  SocketListener(const char* socketName, bool listen);
  SocketListener(const char* socketName, bool listen, bool useCmdNum);

  // The socket by its descriptor, which stays the caller's.
  SocketListener(int socketFd, bool listen);
  SocketListener(const SocketListener&) = delete;
  SocketListener& operator=(const SocketListener&) = delete;

  // Stops a running thread. It may be in onDataAvailable until then, so a derived class with members stops it first.
  virtual ~SocketListener();

  // Opens the socket and starts the thread; 0, or -1 with errno: EBUSY when it runs already, EINVAL, EBADF or ENOTSOCK
  // for an unfit descriptor, EADDRINUSE when someone else listens there. The backlog is 4 where none is given.
  int startListener();
  int startListener(int backlog);

  // Ends the thread, closes every connection and the socket, and removes the socket file that startListener bound;
  // 0, or -1 with errno: EINVAL when it was not started, EDEADLK on the listener's own thread. Waits for a callback
  // that is under way.
  int stopListener();

  // Sends one message to every connection, never with a command number, and waits for none, as SocketClient::sendMsg.
  // A connection for which a megabyte waits already is dropped.
  void sendBroadcast(int code, const char* msg, bool addErrno);

  // Calls the command once for each connection present now.
  void runOnEachSocket(SocketClientCommand* command);

  // Drops a connection; false when it is not one of this listener's. The peer sees the end at once; the
  // descriptor is closed when the last reference is gone.
  bool release(SocketClient* c);

 protected:
  // A connection can be read (or has ended); true keeps it, false drops it.
  virtual bool onDataAvailable(SocketClient* c) = 0;

 private:
  friend class SocketClient;
  class Snapshot;

  static void* threadStart(void* object);
  void runListener();
  void refreshPollSet(std::vector<SocketClient*>* polled, std::vector<struct pollfd>* fds);
  bool acceptClients();
  bool isClient(SocketClient* c);
  void bidFarewell(const std::vector<SocketClient*>& clients);
  void wake();
  void wakeToSend();
  int start(int backlog);
  void closeAll();

  const bool mListen;
  const bool mUseCmdNum;
  const std::string mSocketName;  // empty: the descriptor was given
  int mSock = -1;
  std::string mBoundPath;  // the socket file that start has made, empty when none
  ino_t mBoundInode = 0;   // and which file that is

  pthread_mutex_t mStateLock = PTHREAD_MUTEX_INITIALIZER;  // start and stop, one at a time
  bool mRunning = false;
  pthread_t mThread = {};

  pthread_mutex_t mClientsLock = PTHREAD_MUTEX_INITIALIZER;  // the clients, and writing to the control pipe
  std::vector<SocketClient*> mClients;
  int mCtrlPipe[2] = {-1, -1};
  std::atomic<bool> mClientsChanged = false;  // since the thread built its poll set
  std::atomic<bool> mStop = false;
};
