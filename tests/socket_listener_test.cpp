#include <fcntl.h>
#include <sys/resource.h>
#include <sysutils/SocketListener.h>

#include <thread>
#include <tuple>

#include "simulator/door/sysutils/socket_path.h"
#include "tests/phone.h"

namespace atd {
namespace {

// Takes a byte at a time: '?' is answered, 'l' at length, 's' tries to stop the listener from its own thread, 'b'
// broadcasts, 'f' fills the connection, 'w' writes to the gate and waits there, anything else drops the connection.
class Service : public SocketListener {
 public:
  using SocketListener::SocketListener;
  ~Service() override { stopListener(); }
  int start() { return startListener() == 0 ? 0 : errno; }
  int stop() { return stopListener() == 0 ? 0 : errno; }
  void broadcast() {
    for (int i = 0; i < 50; ++i) sendBroadcast(i, "news", false);
  }
  const std::string long_text = std::string(1 << 20, 'a');
  int gate = -1;
  SocketClient* waiting = nullptr;

 protected:
  bool onDataAvailable(SocketClient* c) override {
    char byte = 0;
    if (read(c->getSocket(), &byte, 1) != 1) return false;
    if (byte == '?' || byte == 'l') return c->sendMsg(200, byte == 'l' ? long_text.c_str() : "here", false) == 0;
    if (byte == 's') return c->sendMsg(stop(), "stop", false) == 0;
    if (byte == 'b') broadcast();
    while (byte == 'f' && send(c->getSocket(), "full", 4, MSG_DONTWAIT | MSG_NOSIGNAL) > 0) continue;
    if (byte == 'w') return waiting = c, write(gate, "w", 1) == 1 && read(gate, &byte, 1) == 1;
    return byte == 'b' || byte == 'f';
  }
};

class SocketService : public Phone {
 protected:
  SocketService() { EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair_)); }
  ~SocketService() override { close(pair_[0]), close(pair_[1]); }

  std::string path(const std::string& name = "svc") { return device().path("/dev/socket/") + name; }
  int bound_socket() { return sim::bind_device_socket("svc", &bound_, &inode_); }
  std::string ask(Peer* peer, const char* byte = "?") { return peer->send(byte), peer->next(); }
  // The bytes that are there, or the first `size` of those that come.
  std::string received(size_t size = 0) {
    std::string bytes(size ? size : 1000, '#');
    ssize_t got = recv(pair_[1], bytes.data(), bytes.size(), size ? MSG_WAITALL : 0);
    return bytes.substr(0, static_cast<size_t>(std::max<ssize_t>(0, got)));
  }
  int pair_[2];
  std::string bound_;
  ino_t inode_;
};

TEST_F(SocketService, MessagesOnTheWire) {
  // Code, error and number; 0 is none.
  const std::tuple<int, int, int, const char*, std::string> rows[] = {
      {200, 0, 0, "AT Command Start", "200 AT Command Start"},
      {605, ENOENT, 0, "AT+X", "605 AT+X (No such file or directory)"},
      {200, 0, 7, "OK", "200 7 OK"},
      {-1, EPERM, -2, "", "-1 -2  (Operation not permitted)"},
  };
  for (const auto& [code, error, number, text, wire] : rows) {
    SocketClient client(pair_[0], false, number != 0);
    EXPECT_EQ(getpid(), client.getPid());
    client.setCmdNum(number);
    errno = error;
    EXPECT_EQ(0, client.sendMsg(code, text, error != 0));
    EXPECT_EQ(wire + '\0', received());
  }
}

TEST_F(SocketService, OneConnectionAndLongMessages) {
  Service service(pair_[0], false);
  ASSERT_EQ(0, service.start());
  EXPECT_EQ(1, write(pair_[1], "l", 1));
  const std::string answer = "200 " + service.long_text + '\0';
  EXPECT_TRUE(answer == received(answer.size()));
  EXPECT_EQ(0, service.stop());
  // Nobody sends on what is queued here. One message begins below the limit and ends beyond it.
  SocketClient client(pair_[0], false);
  for (int error : {0, 0, ENOBUFS}) {
    errno = 0;
    EXPECT_EQ(error ? -1 : 0, client.sendMsg(200, service.long_text.c_str(), false));
    EXPECT_EQ(error, errno == EAGAIN ? 0 : errno);
  }
  EXPECT_TRUE(answer.starts_with(received(answer.size())));
  EXPECT_EQ(-1, client.sendMsg("nothing follows half a message"));
  EXPECT_EQ("", received());
}

TEST_F(SocketService, BroadcastsToEveryoneAndLeavesNoDescriptors) {
  const auto before = descriptors();
  Service service("svc", true, true);
  ASSERT_EQ(0, service.start());
  std::vector<std::unique_ptr<Peer>> peers;
  for (int i = 0; i < 200; ++i) EXPECT_EQ("200 0 here", ask(peers.emplace_back(new Peer(path())).get()));
  errno = EIO;
  service.sendBroadcast(601, "all", true);
  for (auto& peer : peers) EXPECT_EQ("601 all (Input/output error)", peer->next());
  for (int i = 0; i < 100; ++i) EXPECT_EQ("(closed)", ask(peers[100 + i].get(), "x"));
  peers.resize(1);
  // The second answer comes from a later round of the listener than the last connection that ended.
  for (int i = 0; i < 2; ++i) EXPECT_EQ("200 0 here", ask(peers[0].get()));
  EXPECT_EQ(before + 5, descriptors());  // the listening socket, its pipe, and both ends of one connection
  EXPECT_EQ(0, service.stop());
  EXPECT_EQ("(closed)", peers[0]->next());
  EXPECT_EQ(before + 1, descriptors());
}

TEST_F(SocketService, StartsStopsAndBindsItsFile) {
  Service service("svc", true), second("svc", true);
  EXPECT_EQ(EINVAL, service.stop());
  close(bound_socket());  // a dead service's file
  for (int round = 0; round < 3; ++round) {
    std::string error, long_root = root_ + "/" + std::string(150, 'r');  // more than a socket address holds
    if (round == 2) device_.reset(), device_ = sim::SimulatedDevice::open(long_root, &error);
    ASSERT_EQ(0, service.start());
    EXPECT_EQ(std::filesystem::perms{0660}, std::filesystem::status(path()).permissions());
    EXPECT_EQ(EBUSY, service.start());
    EXPECT_EQ(EADDRINUSE, second.start());
    int folder = open(path("").c_str(), O_PATH | O_CLOEXEC);
    Peer peer("/proc/self/fd/" + std::to_string(folder) + "/svc");
    close(folder);
    EXPECT_EQ(std::to_string(EDEADLK) + " stop", ask(&peer, "s"));
    EXPECT_EQ(0, service.stop());
    EXPECT_EQ(EINVAL, service.stop());
    EXPECT_EQ("(closed)", peer.next());
    EXPECT_FALSE(std::filesystem::exists(path()));
  }
  // A file that has taken the place of its own is not its to remove.
  ASSERT_EQ(0, service.start());
  std::filesystem::remove(path());
  ASSERT_EQ(0, second.start());
  EXPECT_EQ(0, service.stop());
  EXPECT_EQ("200 here", ask(std::make_unique<Peer>(path()).get()));
  std::filesystem::create_directory(path("folder"));
  const std::pair<const char*, int> names[] = {{"", EINVAL}, {"a/b", EINVAL}, {"folder", EADDRINUSE}};
  for (const auto& [name, error] : names) EXPECT_EQ(error, Service(name, true).start()) << name;
}

TEST_F(SocketService, TakesTheSocketThatInitHandsOver) {
  int fd = bound_socket();
  const std::string number = std::to_string(fd);
  const std::pair<std::vector<std::string>, int> rows[] = {
      {{"", "x", "-1", "-0", number + "x", " " + number, "+" + number, "4294967299", std::to_string(pair_[0])}, EINVAL},
      {{"1000000"}, EBADF},
      {{number}, 0},  // bound and not listening yet
  };
  Service holder("held", true);
  __android_log_print(ANDROID_LOG_INFO, "test", "opens the buffer that failures are logged to");
  const auto before = descriptors();
  for (const auto& [values, error] : rows) {
    for (const std::string& value : values) {
      EXPECT_EQ(before, descriptors());
      EXPECT_EQ(0, fcntl(fd, F_SETFD, 0));
      setenv("ANDROID_SOCKET_held", value.c_str(), 1);
      EXPECT_EQ(error, holder.start()) << "'" << value << "'";
    }
  }
  unsetenv("ANDROID_SOCKET_held");
  EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
  Peer peer(path());
  EXPECT_EQ("200 here", ask(&peer));
  EXPECT_EQ(0, holder.stop());
  EXPECT_EQ(-1, fcntl(fd, F_GETFD));
}

TEST_F(SocketService, NobodyWaitsForAClientThatDoesNotRead) {
  Service service("svc", true);
  ASSERT_EQ(0, service.start());
  Peer good(path());
  for (bool own_thread : {false, true}) {
    Peer deaf(path());
    EXPECT_EQ("200 here", ask(&deaf));
    deaf.send("f");
    for (int i = 0; i < 2; ++i) EXPECT_EQ("200 here", ask(&good));  // by the second, the other is full
    own_thread ? good.send("b") : service.broadcast();
    for (int i = 0; i < 50; ++i) ASSERT_EQ(std::to_string(i) + " news", good.next());
    // What it has not read yet is not lost, until too much waits.
    std::string first = deaf.next();
    EXPECT_EQ("0 news", first.substr(first.find_last_of('l') + 1));
    for (int i = 1; i < 50; ++i) ASSERT_EQ(std::to_string(i) + " news", deaf.next());
    for (int i = 0; i < 4; ++i) {
      service.sendBroadcast(5, service.long_text.c_str(), false);
      ASSERT_EQ("5 " + service.long_text, good.next());
    }
    while (deaf.next() != "(closed)") {
    }
  }
  // A kernel without buffers loses nothing, and neither does the end of the service.
  device().faults.fail("sendmsg", 3);
  EXPECT_EQ("200 here", ask(&good));
  service.sendBroadcast(5, service.long_text.c_str(), false);
  std::thread ending([&] { service.stop(); });
  EXPECT_EQ("5 " + service.long_text, good.next());
  EXPECT_EQ("(closed)", good.next());
  ending.join();
}

TEST_F(SocketService, ALongCallbackDelaysNoOtherCalls) {
  Service service("svc", true);
  ASSERT_EQ(0, service.start());
  service.gate = pair_[0];
  Peer busy(path()), other(path());
  EXPECT_EQ("200 here", ask(&other));
  busy.send("w?");
  EXPECT_EQ("w", received());
  Peer late(path());
  late.send("?");
  service.sendBroadcast(1, "meanwhile", false);
  for (Peer* peer : {&busy, &other}) EXPECT_EQ("1 meanwhile", peer->next());
  for (bool present : {true, false}) EXPECT_EQ(present, service.release(service.waiting));
  EXPECT_EQ("(closed)", busy.next());
  EXPECT_EQ(1, write(pair_[1], "g", 1));
  EXPECT_EQ("200 here", late.next());
}

TEST_F(SocketService, DescriptorLimits) {
  struct rlimit limit;
  getrlimit(RLIMIT_NOFILE, &limit);
  const struct rlimit wide = {1300, limit.rlim_max};
  if (setrlimit(RLIMIT_NOFILE, &wide) != 0) GTEST_SKIP() << "no more than 1024 descriptors";
  std::vector<int> spare;
  auto fill = [&](int last) {
    do spare.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    while (spare.back() < last);
  };
  fill(1100);
  Service service("svc", true);
  ASSERT_EQ(0, service.start());
  Peer first(path());
  EXPECT_EQ("200 here", ask(&first));
  // The last 64 descriptors are the phone's. A newcomer takes none of them, and the others are served.
  fill(1300 - 66);
  Peer refused(path());
  EXPECT_EQ("(closed)", refused.next());
  EXPECT_EQ("200 here", ask(&first));
  for (int fd : spare) close(fd);
  Peer late(path());
  EXPECT_EQ("200 here", ask(&late));
  setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace
}  // namespace atd
