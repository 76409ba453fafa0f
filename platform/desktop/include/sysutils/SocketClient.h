// One connection of a socket service. It is counted: the listener holds one reference, and so does everyone who uses
// it outside the listener's callback.
#pragma once

#include <pthread.h>
#include <sys/types.h>
#include <sys/uio.h>

#include <atomic>
#include <string>

#include "List.h"

class SocketListener;

class SocketClient {
 public:
  // Takes the descriptor over when `owned`; the peer's credentials are read now. The count starts at 1.
  SocketClient(int sock, bool owned);
  SocketClient(int sock, bool owned, bool useCmdNum);
  SocketClient(const SocketClient&) = delete;
  SocketClient& operator=(const SocketClient&) = delete;
  virtual ~SocketClient();

  int getSocket() const { return mSocket; }

  // The peer's process and owner; -1 where unknown.
  pid_t getPid() const { return mPid; }
  uid_t getUid() const { return mUid; }
  gid_t getGid() const { return mGid; }
  void setCmdNum(int cmdNum);
  int getCmdNum();

  // Sends "CODE TEXT" and a NUL, with addErrno "CODE TEXT (strerror)" and a NUL; with a command number, "CODE NUMBER
  // TEXT". It never waits: what the socket does not take at once is queued, in order, and the listener sends it later.
  // 0, or -1 with errno: EPIPE or ECONNRESET when the peer is gone, ENOBUFS when a megabyte waits for it already or
  // ENOMEM when there is no memory. The connection is shut down then.
  int sendMsg(int code, const char* msg, bool addErrno);
  int sendMsg(int code, const char* msg, bool addErrno, bool useCmdNum);

  // Sends the text and its NUL; result as above.
  int sendMsg(const char* msg);

  // Sends bytes as they are, whole and not mixed with another thread's; result as above. The vectors are unchanged
  // afterwards.
  int sendData(const void* data, int len);
  int sendDatav(struct iovec* iov, int iovcnt);

  // Add one reference, and take one back; decRef is true when that was the last one and the client is gone.
  void incRef();
  bool decRef();

 private:
  friend class SocketListener;
  int sendNow(struct iovec* iov, int iovcnt, size_t* sent);
  int queue(const struct iovec* iov, int iovcnt, size_t sent);
  bool sendQueued();
  void fail(int error);
  void setListener(SocketListener* listener);

  const int mSocket;
  const bool mSocketOwned;
  const bool mUseCmdNum;
  pthread_mutex_t mWriteMutex = PTHREAD_MUTEX_INITIALIZER;
  SocketListener* mListener = nullptr;   // sends what is queued; under the write mutex
  std::string mQueue;                    // likewise
  std::atomic<bool> mHasQueued = false;  // changed under the write mutex
  pid_t mPid = -1;
  uid_t mUid = static_cast<uid_t>(-1);
  gid_t mGid = static_cast<gid_t>(-1);
  std::atomic<int> mRefCount = 1;
  std::atomic<int> mCmdNum = 0;
};

typedef android::sysutils::List<SocketClient*> SocketClientCollection;
