#include <android/log.h>
#include <errno.h>
#include <limits.h>
#include <string.h>
#include <sys/socket.h>
#include <sysutils/SocketListener.h>
#include <unistd.h>

#include <algorithm>
#include <new>

#include "simulator/simulated_device.h"
#include "simulator/door/sysutils/socket_message.h"

namespace {

// What may wait for a client that does not read; one message more, whatever its size, starts below it.
constexpr size_t kQueueMax = 1 << 20;

bool is_passing(int error) { return error == EAGAIN || error == ENOBUFS || error == ENOMEM; }

// Records the message when its connection is recorded.
void record_message(const SocketClient* client, const struct iovec* parts, int count) {
  if (auto* record = atd::sim::SimulatedDevice::current().sockets.record.get()) record->reply(client, parts, count);
}

}  // namespace

SocketClient::SocketClient(int sock, bool owned) : SocketClient(sock, owned, false) {}

SocketClient::SocketClient(int sock, bool owned, bool useCmdNum)
    : mSocket(sock), mSocketOwned(owned), mUseCmdNum(useCmdNum) {
  struct ucred peer;
  socklen_t size = sizeof(peer);
  if (getsockopt(sock, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0) {
    // A peer that has no name in this process's pid namespace reads as 0.
    if (peer.pid != 0) mPid = peer.pid;
    mUid = peer.uid;
    mGid = peer.gid;
  }
}

SocketClient::~SocketClient() {
  if (mSocketOwned && mSocket != -1) close(mSocket);
  pthread_mutex_destroy(&mWriteMutex);
}

void SocketClient::setCmdNum(int cmdNum) { mCmdNum.store(cmdNum, std::memory_order_relaxed); }

int SocketClient::getCmdNum() { return mCmdNum.load(std::memory_order_relaxed); }

int SocketClient::sendMsg(int code, const char* msg, bool addErrno) { return sendMsg(code, msg, addErrno, mUseCmdNum); }

int SocketClient::sendMsg(int code, const char* msg, bool addErrno, bool useCmdNum) {
  const int error = errno;
  const int number = getCmdNum();
  atd::sim::SocketMessage message(code, useCmdNum ? &number : nullptr, msg, addErrno ? &error : nullptr);
  record_message(this, message.parts, message.count);
  return sendDatav(message.parts, message.count);
}

int SocketClient::sendMsg(const char* msg) {
  struct iovec text = {const_cast<char*>(msg), strlen(msg) + 1};
  record_message(this, &text, 1);
  return sendDatav(&text, 1);
}

int SocketClient::sendData(const void* data, int len) {
  if (len < 0) {
    errno = EINVAL;
    return -1;
  }
  struct iovec bytes = {const_cast<void*>(data), static_cast<size_t>(len)};
  record_message(this, &bytes, 1);
  return sendDatav(&bytes, 1);
}

int SocketClient::sendDatav(struct iovec* iov, int iovcnt) {
  pthread_mutex_lock(&mWriteMutex);
  size_t sent = 0;
  int error = mHasQueued ? EAGAIN : sendNow(iov, iovcnt, &sent);
  if (is_passing(error)) error = queue(iov, iovcnt, sent);
  if (error != 0) fail(error);
  pthread_mutex_unlock(&mWriteMutex);
  if (error == 0) return 0;
  errno = error;
  return -1;
}

// Sends what the socket takes, and says in *sent how many bytes these were; 0 when these were all, else an error
// number.
int SocketClient::sendNow(struct iovec* iov, int iovcnt, size_t* sent) {
  int first = 0;      // the first vector that is not out yet,
  size_t offset = 0;  // and how much of it is
  for (;;) {
    while (first < iovcnt && offset >= iov[first].iov_len) offset -= iov[first++].iov_len;
    if (first >= iovcnt) return 0;
    if (atd::sim::SimulatedDevice::current().faults.hits(atd::sim::Call::sendmsg)) return ENOBUFS;

    const struct iovec whole = iov[first];
    iov[first] = {static_cast<char*>(whole.iov_base) + offset, whole.iov_len - offset};
    struct msghdr message = {};
    message.msg_iov = iov + first;
    message.msg_iovlen = std::min(iovcnt - first, IOV_MAX);
    const ssize_t taken = sendmsg(mSocket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    iov[first] = whole;
    if (taken < 0 && errno != EINTR) return errno;
    if (taken > 0) {
      offset += static_cast<size_t>(taken);
      *sent += static_cast<size_t>(taken);
    }
  }
}

// Queues what follows the first `sent` bytes; 0, or an error number.
int SocketClient::queue(const struct iovec* iov, int iovcnt, size_t sent) {
  if (mQueue.size() >= kQueueMax) return ENOBUFS;
  try {
    for (int i = 0; i < iovcnt; ++i) {
      const size_t skipped = std::min(sent, iov[i].iov_len);
      mQueue.append(static_cast<const char*>(iov[i].iov_base) + skipped, iov[i].iov_len - skipped);
      sent -= skipped;
    }
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
  if (!mHasQueued.exchange(true) && mListener != nullptr) mListener->wakeToSend();
  return 0;
}

// Sends what is queued, as far as the socket takes it; false when the kernel has no room for it just now, which poll
// does not tell.
bool SocketClient::sendQueued() {
  pthread_mutex_lock(&mWriteMutex);
  struct iovec bytes = {mQueue.data(), mQueue.size()};
  size_t sent = 0;
  const int error = sendNow(&bytes, 1, &sent);
  mQueue.erase(0, sent);
  if (error != 0 && !is_passing(error)) fail(error);
  if (error == 0) mQueue.shrink_to_fit();
  if (mQueue.empty()) mHasQueued = false;
  pthread_mutex_unlock(&mWriteMutex);
  return error == 0 || error == EAGAIN || !is_passing(error);
}

// Ends the connection: a peer that misses a message, or has half of one, is told so. Its owner sees it end.
void SocketClient::fail(int error) {
  if (error == ENOBUFS || error == ENOMEM) {
    char text[128];
    __android_log_print(ANDROID_LOG_ERROR, "SocketListener",
                        "a client (process %d) is dropped, %zu bytes wait for it: %s", mPid, mQueue.size(),
                        strerror_r(error, text, sizeof text));
  }
  mQueue.clear();
  mHasQueued = false;
  shutdown(mSocket, SHUT_RDWR);
}

void SocketClient::setListener(SocketListener* listener) {
  pthread_mutex_lock(&mWriteMutex);
  mListener = listener;
  pthread_mutex_unlock(&mWriteMutex);
}

void SocketClient::incRef() { mRefCount.fetch_add(1, std::memory_order_relaxed); }

bool SocketClient::decRef() {
  if (mRefCount.fetch_sub(1, std::memory_order_acq_rel) != 1) return false;
  delete this;
  return true;
}
