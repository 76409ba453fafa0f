#include <errno.h>
#include <limits.h>
#include <poll.h>
#include <stdint.h>
#include <string.h>
#include <sys/socket.h>
#include <sysutils/SocketClient.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

#include "simulator/simulated_device.h"
#include "simulator/door/sysutils/socket_message.h"

namespace {

int64_t now_ms() {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

// A client may make senders wait send_wait_ms in all, in a time that is this many times as long.
constexpr int kPatienceReturns = 10;

int send_wait_ms() { return std::max(0, atd::sim::SimulatedDevice::current().sockets.send_wait_ms); }

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

int SocketClient::sendDatav(struct iovec* iov, int iovcnt) { return sendDatav(iov, iovcnt, INT_MAX); }

int SocketClient::sendDatav(struct iovec* iov, int iovcnt, int wait_ms) {
  pthread_mutex_lock(&mWriteMutex);
  const int result = sendDataLocked(iov, iovcnt, wait_ms);
  pthread_mutex_unlock(&mWriteMutex);
  return result;
}

// Waits until the socket takes bytes again or has failed; false with ETIMEDOUT when that takes longer than wait_ms, or
// than what is left of the patience with this client. A client that reads a little now and then delays the others, too.
bool SocketClient::awaitWritable(int wait_ms) {
  const int64_t start = now_ms();
  if (start - mPatienceSince > int64_t{kPatienceReturns} * send_wait_ms()) {
    mPatienceSince = start;
    mWaited = 0;
  }
  const int64_t end = start + std::min<int64_t>(wait_ms, std::max<int64_t>(0, send_wait_ms() - mWaited));
  struct pollfd writable = {mSocket, POLLOUT, 0};
  int ready;
  do {
    ready = poll(&writable, 1, static_cast<int>(std::max<int64_t>(0, end - now_ms())));
  } while (ready == -1 && errno == EINTR);
  mWaited += now_ms() - start;
  if (ready == 0) errno = ETIMEDOUT;
  return ready > 0;
}

int SocketClient::sendDataLocked(struct iovec* iov, int iovcnt, int wait_ms) {
  int first = 0;         // the first vector that is not out yet,
  size_t offset = 0;     // how much of it is,
  bool started = false;  // and whether anything of the message is
  for (;;) {
    while (first < iovcnt && offset >= iov[first].iov_len) offset -= iov[first++].iov_len;
    if (first >= iovcnt) return 0;

    const struct iovec whole = iov[first];
    iov[first] = {static_cast<char*>(whole.iov_base) + offset, whole.iov_len - offset};
    struct msghdr message = {};
    message.msg_iov = iov + first;
    message.msg_iovlen = std::min(iovcnt - first, IOV_MAX);
    const ssize_t sent = sendmsg(mSocket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    iov[first] = whole;

    if (sent >= 0) {
      offset += sent;
      started = started || sent > 0;
    } else if (errno != EINTR && !(errno == EAGAIN && awaitWritable(wait_ms))) {
      // A connection that holds half a message, or that nobody reads, is of no use to anyone. Its owner sees it end.
      const int error = errno;
      if (started || error == ETIMEDOUT) shutdown(mSocket, SHUT_RDWR);
      errno = error;
      return -1;
    }
  }
}

void SocketClient::incRef() { mRefCount.fetch_add(1, std::memory_order_relaxed); }

bool SocketClient::decRef() {
  if (mRefCount.fetch_sub(1, std::memory_order_acq_rel) != 1) return false;
  delete this;
  return true;
}
