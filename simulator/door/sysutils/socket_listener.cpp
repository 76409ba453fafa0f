#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sysutils/SocketListener.h>
#include <unistd.h>

#include <algorithm>

#include "simulator/simulated_device.h"
#include "simulator/door/sysutils/socket_message.h"
#include "simulator/door/sysutils/socket_path.h"

namespace {

constexpr int kBacklog = 4;
constexpr int kPauseMs = 100;         // after a failure that would come back at once
constexpr int kSendPauseMs = 10;      // the same, while something is queued
constexpr int kFarewellMs = 200;      // how long the end of the service waits for clients to take what is queued
constexpr rlim_t kSpare = 64;         // descriptors that clients leave to the phone's own files
constexpr int kAcceptsPerRound = 16;  // so that a stream of newcomers does not keep the others waiting

// The poll set: the control pipe, the listening socket, then the clients.
constexpr size_t kControl = 0;
constexpr size_t kAccept = 1;
constexpr size_t kFirstClient = 2;

// The listener that runs on this thread.
thread_local const SocketListener* t_listener = nullptr;

void log_error(const char* what, const char* name, int error) {
  char text[128];
  __android_log_print(ANDROID_LOG_ERROR, "SocketListener", "%s '%s' failed: %s", what, name,
                      strerror_r(error, text, sizeof(text)));
}

// Where the service of that name records what it hears and says; null for nowhere.
atd::sim::SocketRecord* record_of(const std::string& name) {
  atd::sim::SocketRecord* record = atd::sim::SimulatedDevice::current().sockets.record.get();
  return record != nullptr && name == "atd" ? record : nullptr;
}

// A client of the service of that name came (1) or went (-1).
void count_client(const std::string& name, int change) {
  if (name == "atd") atd::sim::SimulatedDevice::current().sockets.clients += change;
}

}  // namespace

// The clients present now, with a reference to each, so that nobody waits for a slow one with mClientsLock held.
class SocketListener::Snapshot {
 public:
  explicit Snapshot(SocketListener* listener) {
    pthread_mutex_lock(&listener->mClientsLock);
    count_ = listener->mClients.size();
    if (count_ > std::size(few_)) {
      many_.resize(count_);
      clients_ = many_.data();
    }
    std::copy(listener->mClients.begin(), listener->mClients.end(), clients_);
    for (SocketClient* c : *this) c->incRef();
    pthread_mutex_unlock(&listener->mClientsLock);
  }
  ~Snapshot() {
    for (SocketClient* c : *this) c->decRef();
  }
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  SocketClient** begin() { return clients_; }
  SocketClient** end() { return clients_ + count_; }

 private:
  SocketClient* few_[16];
  std::vector<SocketClient*> many_;
  SocketClient** clients_ = few_;
  size_t count_;
};

SocketListener::SocketListener(const char* socketName, bool listen) : SocketListener(socketName, listen, false) {}

SocketListener::SocketListener(const char* socketName, bool listen, bool useCmdNum)
    : mListen(listen), mUseCmdNum(useCmdNum), mSocketName(socketName == nullptr ? "" : socketName) {}

SocketListener::SocketListener(int socketFd, bool listen) : SocketListener(nullptr, listen, false) { mSock = socketFd; }

SocketListener::~SocketListener() {
  stopListener();
  pthread_mutex_destroy(&mClientsLock);
  pthread_mutex_destroy(&mStateLock);
}

int SocketListener::startListener() { return startListener(kBacklog); }

int SocketListener::startListener(int backlog) {
  if (t_listener == this) {
    errno = EBUSY;
    return -1;
  }
  pthread_mutex_lock(&mStateLock);
  int error = mRunning ? EBUSY : 0;
  if (error == 0 && start(backlog) == -1) {
    error = errno;
    closeAll();
    log_error("Starting the socket service", mSocketName.c_str(), error);
  }
  if (error == 0) mRunning = true;
  pthread_mutex_unlock(&mStateLock);
  if (error == 0) return 0;
  errno = error;
  return -1;
}

int SocketListener::start(int backlog) {
  if (!mSocketName.empty()) {
    mSock = atd::sim::inherited_socket(mSocketName, mListen);
    if (mSock == -1 && errno == ENOENT && mListen)
      mSock = atd::sim::bind_device_socket(mSocketName, &mBoundPath, &mBoundInode);
    if (mSock == -1) return -1;
  } else if (mSock == -1) {
    errno = EINVAL;
    return -1;
  }
  if (mListen) {
    // Another process may take a connection away between the poll and the accept.
    const int flags = fcntl(mSock, F_GETFL);
    if (flags == -1 || fcntl(mSock, F_SETFL, flags | O_NONBLOCK) == -1 || listen(mSock, backlog) == -1) return -1;
  }
  int control[2];
  if (pipe2(control, O_CLOEXEC | O_NONBLOCK) == -1) return -1;

  const bool owned = !mSocketName.empty();
  SocketClient* const only = mListen ? nullptr : new SocketClient(mSock, owned, mUseCmdNum);
  // A client that queues holds its write mutex when it takes the clients' lock, so never the other way round.
  if (only) only->setListener(this);
  pthread_mutex_lock(&mClientsLock);
  std::copy(std::begin(control), std::end(control), mCtrlPipe);
  if (only) {
    mClients.push_back(only);
    count_client(mSocketName, 1);
    if (auto* record = record_of(mSocketName)) record->connected(only);
    if (owned) mSock = -1;  // the client closes it, when its last user is done
  }
  mClientsChanged = true;
  mStop = false;
  pthread_mutex_unlock(&mClientsLock);

  const int error = pthread_create(&mThread, nullptr, threadStart, this);
  errno = error;
  return error == 0 ? 0 : -1;
}

int SocketListener::stopListener() {
  if (t_listener == this) {
    errno = EDEADLK;
    return -1;
  }
  pthread_mutex_lock(&mStateLock);
  const bool running = mRunning;
  if (running) {
    mStop = true;
    wake();
    pthread_join(mThread, nullptr);
    closeAll();
    mRunning = false;
  }
  pthread_mutex_unlock(&mStateLock);
  if (running) return 0;
  errno = EINVAL;
  return -1;
}

// Closes what a start has opened; the thread has ended or never ran.
void SocketListener::closeAll() {
  // Someone else may have put a socket of his own there since. While ours is open, no other file has its inode.
  struct stat file;
  if (!mBoundPath.empty() && lstat(mBoundPath.c_str(), &file) == 0 && file.st_ino == mBoundInode) {
    unlink(mBoundPath.c_str());
  }
  mBoundPath.clear();
  if (!mSocketName.empty() && mSock != -1) {
    close(mSock);
    mSock = -1;
  }
  for (SocketClient* c : Snapshot(this)) release(c);
  pthread_mutex_lock(&mClientsLock);
  for (int& end : mCtrlPipe) {
    if (end != -1) close(end);
    end = -1;
  }
  pthread_mutex_unlock(&mClientsLock);
}

void SocketListener::sendBroadcast(int code, const char* msg, bool addErrno) {
  const int error = errno;
  atd::sim::SocketMessage message(code, nullptr, msg, addErrno ? &error : nullptr);
  if (auto* record = record_of(mSocketName)) record->broadcast(message.parts, message.count);
  // A client that is gone stays until the thread has read what it sent before.
  for (SocketClient* c : Snapshot(this)) c->sendDatav(message.parts, message.count);
}

void SocketListener::runOnEachSocket(SocketClientCommand* command) {
  for (SocketClient* c : Snapshot(this)) command->runSocketCommand(c);
}

bool SocketListener::release(SocketClient* c) {
  pthread_mutex_lock(&mClientsLock);
  const auto position = std::find(mClients.begin(), mClients.end(), c);
  const bool found = position != mClients.end();
  if (found) {
    mClients.erase(position);
    count_client(mSocketName, -1);
    if (!mClientsChanged.exchange(true) && t_listener != this) wake();
  }
  pthread_mutex_unlock(&mClientsLock);
  if (!found) return false;
  if (auto* record = record_of(mSocketName)) record->disconnected(c);
  c->setListener(nullptr);
  if (mListen) shutdown(c->getSocket(), SHUT_RDWR);
  c->decRef();
  return true;
}

void SocketListener::wake() {
  // A full pipe wakes the thread, too.
  while (mCtrlPipe[1] != -1 && write(mCtrlPipe[1], "", 1) == -1 && errno == EINTR) {
  }
}

void SocketListener::wakeToSend() {
  if (t_listener == this) return;
  pthread_mutex_lock(&mClientsLock);
  wake();
  pthread_mutex_unlock(&mClientsLock);
}

void* SocketListener::threadStart(void* object) {
  static_cast<SocketListener*>(object)->runListener();
  return nullptr;
}

void SocketListener::runListener() {
  t_listener = this;
  std::vector<SocketClient*> polled;  // a reference to each: a descriptor stays open for as long as it is polled
  std::vector<struct pollfd> fds;
  bool pause = false;     // accepting, for one round
  bool crowded = false;   // the kernel took nothing of what is queued, though poll says it would
  bool refusing = false;  // the last accept failed
  while (!mStop) {
    if (mClientsChanged.exchange(false)) refreshPollSet(&polled, &fds);
    fds[kAccept].fd = mListen && !pause ? mSock : -1;
    for (size_t i = kFirstClient; i < fds.size(); ++i) {
      const bool queued = !crowded && polled[i - kFirstClient]->mHasQueued;
      fds[i].events = static_cast<short>(queued ? POLLIN | POLLOUT : POLLIN);
    }
    int ready = poll(fds.data(), fds.size(), crowded ? kSendPauseMs : pause ? kPauseMs : -1);
    crowded = false;
    if (ready == -1) {
      if (errno != EINTR) {
        log_error("Waiting on", mSocketName.c_str(), errno);
        poll(&fds[kControl], 1, kPauseMs);
      }
      continue;
    }
    pause = false;
    if (fds[kControl].revents != 0) {
      char bytes[16];
      while (read(mCtrlPipe[0], bytes, sizeof(bytes)) > 0) {
      }
      --ready;
    }
    if (fds[kAccept].revents != 0) {
      pause = !acceptClients();
      if (pause && !refusing) log_error("Accepting on", mSocketName.c_str(), errno);
      refusing = pause;
      --ready;
    }
    for (size_t i = kFirstClient; i < fds.size() && ready > 0 && !mStop; ++i) {
      if (fds[i].revents == 0) continue;
      --ready;
      SocketClient* c = polled[i - kFirstClient];
      if ((fds[i].revents & POLLOUT) != 0 && !c->sendQueued()) crowded = true;
      if ((fds[i].revents & ~POLLOUT) == 0) continue;
      // An earlier callback of this round may have dropped it.
      if (mClientsChanged && !isClient(c)) continue;
      auto* record = record_of(mSocketName);
      if (record) record->before_read(c);
      const bool keep = onDataAvailable(c);
      if (record) record->after_read(c);
      if (!keep) release(c);
    }
  }
  bidFarewell(polled);
  for (SocketClient* c : polled) c->decRef();
}

// Lets the clients take what is queued for them, for a bounded time.
void SocketListener::bidFarewell(const std::vector<SocketClient*>& clients) {
  for (int waited = 0; waited < kFarewellMs; waited += kSendPauseMs) {
    bool queued = false;
    for (SocketClient* c : clients) {
      if (c->mHasQueued) c->sendQueued();
      queued |= c->mHasQueued;
    }
    if (!queued) return;
    poll(nullptr, 0, kSendPauseMs);
  }
}

void SocketListener::refreshPollSet(std::vector<SocketClient*>* polled, std::vector<struct pollfd>* fds) {
  std::vector<SocketClient*> before;
  before.swap(*polled);
  pthread_mutex_lock(&mClientsLock);
  *polled = mClients;
  for (SocketClient* c : *polled) c->incRef();
  pthread_mutex_unlock(&mClientsLock);
  for (SocketClient* c : before) c->decRef();

  fds->assign(kFirstClient, {mCtrlPipe[0], POLLIN, 0});
  for (SocketClient* c : *polled) fds->push_back({c->getSocket(), POLLIN, 0});
}

// Accepts the connections that wait, and refuses those that would take the last descriptors; false with errno when that
// failed for a reason that lasts.
bool SocketListener::acceptClients() {
  struct rlimit limit = {RLIM_INFINITY, RLIM_INFINITY};
  getrlimit(RLIMIT_NOFILE, &limit);
  bool refused = false;
  for (int i = 0; i < kAcceptsPerRound; ++i) {
    int fd = accept4(mSock, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd == -1) {
      if (errno == EINTR || errno == ECONNABORTED) continue;
      if (errno != EAGAIN) return false;
      break;
    }
    // The lowest free number is handed out, so fewer than kSpare are left.
    if (limit.rlim_cur != RLIM_INFINITY && static_cast<rlim_t>(fd) + kSpare >= limit.rlim_cur) {
      close(fd);
      refused = true;
      continue;
    }
    SocketClient* c = new SocketClient(fd, true, mUseCmdNum);
    c->setListener(this);
    if (auto* record = record_of(mSocketName)) record->connected(c);
    pthread_mutex_lock(&mClientsLock);
    mClients.push_back(c);
    count_client(mSocketName, 1);
    mClientsChanged = true;
    pthread_mutex_unlock(&mClientsLock);
  }
  if (refused) errno = EMFILE;
  return !refused;
}

bool SocketListener::isClient(SocketClient* c) {
  pthread_mutex_lock(&mClientsLock);
  const bool found = std::find(mClients.begin(), mClients.end(), c) != mClients.end();
  pthread_mutex_unlock(&mClientsLock);
  return found;
}
