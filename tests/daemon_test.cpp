// The daemon as a program: its arguments, its signals, its end, and what it does to those who start it.
#include <fcntl.h>
#include <pty.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>

#include <fstream>
#include <tuple>

#include "tests/client_daemon.h"

namespace atd::client {
namespace {

const std::string kLong(4040, 'x');
constexpr int kNotAProgramHere = 126;  // an emulated test program cannot start another one

// Waits for what another process does; false when it does not within ten seconds.
bool until(const std::function<bool()>& done) {
  for (int i = 0; i < 10000; ++i, usleep(1000)) {
    if (done()) return true;
  }
  return false;
}

// A phone's folder with the programs that run in it.
class Daemon : public testing::Test {
 protected:
  Daemon() : root_(std::filesystem::canonical(testing::TempDir()).string() + "/atd-daemon-XXXXXX") {
    EXPECT_NE(nullptr, mkdtemp(root_.data()));
    // What a daemon in the background leaves is this process's child.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
  }

  void SetUp() override {
    if (start({"--version"}) && end() == kNotAProgramHere) GTEST_SKIP() << "atd cannot be started here";
  }

  ~Daemon() override {
    for (pid_t pid : {pid_, holder()}) {
      if (pid > 0) kill(pid, SIGKILL);
    }
    while (waitpid(-1, nullptr, 0) > 0) {
    }
    close(out_);
    std::filesystem::remove_all(root_);
  }

  // Starts atd with the root as its folder. Its standard output and error are `out`, or else a pipe that shown() reads.
  // `prepare` runs in the new process.
  bool start(const Strings& arguments, int out = -1, const std::function<void()>& prepare = {}) {
    int ends[2] = {-1, out};
    if (out < 0) {
      EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
      close(out_);
      out_ = ends[0];
    }
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").replace_filename("atd");
    std::vector<char*> argv = {const_cast<char*>("atd")};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      dup2(ends[1], STDOUT_FILENO);
      dup2(ends[1], STDERR_FILENO);
      if (chdir(root_.c_str()) != 0) _exit(1);
      if (prepare) prepare();
      execv(program.c_str(), argv.data());
      _exit(errno == ENOEXEC ? kNotAProgramHere : 1);
    }
    if (out < 0) close(ends[1]);
    return pid_ > 0;
  }

  // The exit status of a process, -1 when it does not end in time or not by itself.
  int end(pid_t pid = 0) {
    int status = -1;
    pid_t& waited = pid == 0 ? pid_ : pid;
    if (!until([&] { return waitpid(waited, &status, WNOHANG) == waited; })) return -1;
    waited = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  int end_by(int signal, pid_t pid = 0) {
    kill(pid == 0 ? pid_ : pid, signal);
    return end(pid);
  }

  // What the program shows until nobody can show anything any more.
  std::string shown() {
    std::string text;
    sim::read_rest(out_, &text);
    return text;
  }

  std::string path(const std::string& file) { return root_ + "/phone/" + file; }
  pid_t holder() { return atoi(content(path("sim/lock")).c_str()); }
  bool is_clean() {
    return content(path("sim/lock")).empty() && !std::filesystem::exists(path("dev/socket/atd")) &&
           !std::filesystem::exists(path("sim/control"));
  }
  // Each boot makes the socket anew.
  bool serves(int boot = 1) {
    return until([&] {
      const int fd = atoi(content(path("sim/boots")).c_str()) == boot ? connect_to(path("dev/socket/atd")) : -1;
      return fd >= 0 && close(fd) == 0;
    });
  }
  // A modem whose first answer does not come keeps the phone from its socket.
  bool start_slow_boot(const Strings& arguments) {
    std::filesystem::create_directories(path("sim"));
    std::ofstream(path("sim/modem.conf")) << "117 * fail delay=3600000\n";
    return start(arguments) && until([&] { return std::filesystem::exists(path("sim/control")); });
  }
  // Makes so many long lines in the log.
  void talk(int lines) {
    Peer peer(path("dev/socket/atd"));
    for (int i = 0; i < lines; ++i) {
      peer.line("atcommand " + std::to_string(i) + kLong);
      peer.line("ready?");
      EXPECT_EQ("500 Command not recognized", peer.next());
    }
  }
  int phone(const char* verb) { return atdctl("", {"--device", root_ + "/phone", "phone", verb}).status; }

  std::string root_;
  pid_t pid_ = 0;
  int out_ = -1;
};

TEST_F(Daemon, ItsHelpFitsATerminal) {
  start({"--help"});
  std::istringstream help(shown());
  for (std::string line; std::getline(help, line);) EXPECT_LE(line.size(), 80u) << line;
  EXPECT_EQ(0, end());
}

TEST_F(Daemon, RefusesWhatMakesNoSense) {
  std::ofstream(root_ + "/file") << "";
  std::filesystem::create_directories(root_ + "/blocked/dev/socket/atd");
  const std::string usage = "\nUsage: atd --device DIR ";
  const std::tuple<const char*, int, std::string> kRows[] = {
      {"", 64, usage},
      {"--device", 64, usage},
      {"--device phone --log-level loud", 64, usage},
      {"--device phone now", 64, usage},
      {"--device phone --scratch", 64, usage},
      {"--device phone --from no/where", 1, "atd: " + root_ + "/no/where: No such file or directory\n"},
      {"--device phone --from /dev/zero", 1, "atd: /dev/zero: more than 16 MiB; "},
      {"--version", 0, "atd 0."},
      {"--device /", 1, "atd: /: a simulated phone needs a folder of its own\n"},
      {"--device file", 1, "atd: " + root_ + "/file: "},
      {"--device file --background", 1, "atd: " + root_ + "/file: "},
      {"--device phone --record no/where", 1, "atd: " + root_ + "/no/where: No such file or directory\n"},
      {"--device blocked --log-level silent", 1,
       "E Atd: Unable to start FrameworkListener (Address already in use)\n"}};
  for (const Strings& empty : {Strings{"--device", ""}, {"--device", "phone", "--from", ""}}) {
    start(empty);
    EXPECT_EQ(64, end());
    EXPECT_TRUE(has(shown(), (empty.size() == 2 ? "a folder is needed" : "a file is needed") + usage));
  }
  for (const auto& [arguments, status, message] : kRows) {
    start(words(arguments));
    EXPECT_EQ(status, end()) << arguments;
    const std::string text = shown();
    EXPECT_TRUE(has(text, message)) << arguments << ": " << text;
  }
}

TEST_F(Daemon, EndsBySignals) {
  for (int boot = 1; int signal : {SIGTERM, SIGINT, SIGHUP}) {
    std::filesystem::remove(path("sim/modem.conf"));
    start({"--device", "phone"});
    ASSERT_TRUE(serves(boot));
    EXPECT_EQ(0, end_by(signal)) << signal;
    EXPECT_TRUE(is_clean());
    // While it boots, and a phone in the background with the process that waits for it.
    for (int status : {0, 1}) {
      start_slow_boot(words(status == 0 ? "--device phone" : "--device phone --background"));
      const pid_t daemon = holder();
      EXPECT_EQ(status, end_by(signal)) << signal;
      EXPECT_NE(0, kill(daemon, 0));
      EXPECT_TRUE(is_clean());
      EXPECT_FALSE(has(shown(), " is up"));
    }
    boot += 3;
  }
}

TEST_F(Daemon, EndsWhileItWaitsForItsPhonesFile) {
  ASSERT_EQ(0, mkfifo((root_ + "/file").c_str(), 0600));
  start(words("--device phone --from file --background"));
  int writer = -1;
  EXPECT_TRUE(until([&] { return (writer = open((root_ + "/file").c_str(), O_WRONLY | O_NONBLOCK)) >= 0; }));
  EXPECT_EQ(-1, end_by(SIGTERM));
  EXPECT_EQ(0, pid_);
  close(writer);
}

TEST_F(Daemon, AScratchPhoneRebootsAndGoesAway) {
  const std::string tmp = root_ + "/tmp";
  std::filesystem::create_directory(tmp);
  std::ofstream(root_ + "/file") << "[properties]\n'persist.sys.x' = 'kept'\n";
  start(words("--scratch --from file"), -1, [] { setenv("TMPDIR", "tmp", 1); });
  std::filesystem::path made;
  EXPECT_TRUE(until([&] {
    for (const auto& entry : std::filesystem::directory_iterator(tmp)) made = entry.path();
    return std::filesystem::exists(made / "dev/socket/atd");
  }));
  std::filesystem::create_directory_symlink(made, root_ + "/phone");
  ASSERT_TRUE(serves());
  EXPECT_EQ(0, phone("reboot"));
  EXPECT_TRUE(serves(2));
  EXPECT_EQ("kept\n", atdctl("", {"--device", root_ + "/phone", "phone", "property", "persist.sys.x"}).out);
  EXPECT_EQ(0, end_by(SIGTERM));
  EXPECT_TRUE(std::filesystem::is_empty(tmp));
}

TEST_F(Daemon, RebootsAndSwitchesItselfOff) {
  start_slow_boot({"--device", "phone", "--background", "--record", "record"});
  // What the phone does to itself while it boots comes in the same way. The process that waits goes on with the next
  // boot, which cannot use the item of the IMEI.
  std::ofstream(path("sim/modem.conf")) << "117 * \"490154203237518\"\n";
  std::filesystem::create_directory(path("sim/items/13-20"));
  const pid_t detached = holder();
  kill(detached, SIGUSR1);
  EXPECT_EQ(0, end());
  EXPECT_TRUE(serves(2));
  EXPECT_TRUE(until([&] { return has(content(path("dev/log/main")), "item 13 cannot be written"); }));
  EXPECT_EQ(0, phone("reboot"));
  EXPECT_TRUE(serves(3));
  EXPECT_EQ(detached, holder());
  EXPECT_TRUE(has(atdctl("", {"--device", root_ + "/phone", "phone", "status"}).out, "silent"));
  EXPECT_EQ("atd\n", content("/proc/" + std::to_string(detached) + "/comm"));
  EXPECT_TRUE(has(content(root_ + "/record"), "\"connect\""));

  start({"--device", "phone"});
  EXPECT_EQ(1, end());
  EXPECT_EQ("atd: " + root_ + "/phone: process " + std::to_string(detached) + " runs this phone\n", shown());

  EXPECT_EQ(0, phone("power-off"));
  EXPECT_EQ(0, end(detached));
  EXPECT_TRUE(is_clean());
  EXPECT_EQ("reboot\npower-off\n", content(path("sim/power")));
  start({"--device", "phone", "--background"});
  EXPECT_EQ(0, end());
  EXPECT_TRUE(has(content(path("dev/log/main")) + content(path("dev/log/.main")), "boot 4, after: power-off"));
  const pid_t killed = holder();
  kill(killed, SIGKILL);
  end(killed);
  start({"--device", "phone", "--background"});
  EXPECT_EQ(0, end());
  EXPECT_EQ(0, end_by(SIGTERM, holder()));
  EXPECT_EQ("reboot\npower-off\nkilled\nstop\n", content(path("sim/power")));
  // A power-off that waits for the cable goes on at the next start.
  std::ofstream(path("system/build.prop")) << "ro.bootmode=pif-56k\nro.minios.bootstart=1\nsys.tav.sleepmode.on=1\n";
  std::ofstream(path("sim/items/2-1")) << '\5';
  start({"--device", "phone", "--background"});
  EXPECT_EQ(0, end());
  EXPECT_TRUE(until([&] { return content(path("sys/kernel/atd_mid/atd_status")) == "1"; }));
  const pid_t waiting = holder();
  EXPECT_EQ(0, atdctl("", {"--device", root_ + "/phone", "phone", "cable", "none"}).status);
  EXPECT_EQ(0, end(waiting));
  EXPECT_TRUE(has(content(path("sim/power")), "stop\npower-off\n"));
}

TEST_F(Daemon, KeepsNothingOfItsCaller) {
  int caller[2];
  ASSERT_EQ(0, pipe(caller));
  for (int boot = 1; const std::vector<int>& closed : std::vector<std::vector<int>>{{}, {0}, {1}, {2}, {0, 1, 2}}) {
    start({"--device", "phone", "--background"}, -1, [&] {
      for (int fd : closed) close(fd);
    });
    EXPECT_EQ(0, end());
    ASSERT_TRUE(serves(boot++));
    const pid_t detached = holder();
    shown();
    EXPECT_EQ(path(""), std::filesystem::read_symlink("/proc/" + std::to_string(detached) + "/cwd").string() + "/");
    if (boot == 2) {
      close(caller[1]);
      EXPECT_EQ(0, read(caller[0], &boot, 1));
      close(caller[0]);
    }
    EXPECT_EQ(0, end_by(SIGTERM, detached));
    EXPECT_TRUE(is_clean());
  }
}

TEST_F(Daemon, ServesTheSocketOfItsCaller) {
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  const SocketAddress address(root_ + "/socket");
  ASSERT_EQ(0, bind(listener, address.get(), address.size()));
  start({"--device", "phone"}, -1, [] { setenv("ANDROID_SOCKET_atd", "0x", 1); });
  EXPECT_EQ(1, end());
  EXPECT_EQ("atd: ANDROID_SOCKET_atd: no such descriptor\n", shown());
  for (int fd : {listener, 0}) {
    start({"--device", "phone", "--background"}, -1, [&] {
      dup2(listener, fd);
      if (fd != listener) close(listener);
      setenv("ANDROID_SOCKET_atd", std::to_string(fd).c_str(), 1);
    });
    EXPECT_EQ(0, end());
    const pid_t detached = holder();
    for (const char* restart : {"reboot", "stop"}) {
      Peer peer(root_ + "/socket");
      peer.line("ready?");
      EXPECT_EQ("500 Command not recognized", peer.next());
      EXPECT_EQ(0, phone(restart));
      EXPECT_TRUE(restart != std::string("stop") || is_clean());
      EXPECT_EQ((Strings{"602 At Command End", "200 AT Command End", "(closed)"}), peer.next(3));
    }
    EXPECT_EQ(0, end(detached));
  }
  close(listener);
}

TEST_F(Daemon, ShowsEveryLineToItsReader) {
  start({"--device", "phone"});
  ASSERT_TRUE(serves());
  talk(100);
  kill(pid_, SIGTERM);
  const std::string text = shown();
  for (size_t i = 0, at = 0; i < 100; ++i) {
    at = text.find("Command[1] = " + std::to_string(i) + kLong + "\n", at);
    ASSERT_NE(text.npos, at) << i;
  }
  EXPECT_TRUE(text.ends_with(" Atd: stop_socket\n"));
  EXPECT_EQ(0, end());
}

TEST_F(Daemon, DoesNotWaitForAReader) {
  int full[2], terminal, stopped;
  ASSERT_EQ(0, pipe2(full, O_CLOEXEC | O_NONBLOCK));
  ASSERT_EQ(0, openpty(&terminal, &stopped, nullptr, nullptr, nullptr));
  tcflow(stopped, TCOOFF);
  size_t fill = 0;
  for (ssize_t size; (size = write(full[1], "0123456789abcde\n", 16)) > 0;) fill += static_cast<size_t>(size);
  fcntl(full[1], F_SETFL, 0);
  for (int boot = 1; int out : {stopped, full[1]}) {
    start({"--device", "phone", "--log-level", "verbose"}, out);
    ASSERT_TRUE(serves(boot++));
    talk(300);
    EXPECT_EQ(0, phone("reboot"));
    ASSERT_TRUE(serves(boot++));
    if (out == stopped) EXPECT_EQ(0, end_by(SIGTERM));
  }
  // Once somebody reads, he learns how much is missing, and sees what comes then.
  close(full[1]);
  out_ = full[0];
  fcntl(out_, F_SETFL, 0);
  kill(pid_, SIGTERM);
  const std::string text = shown().substr(fill);
  EXPECT_EQ(0, end());
  const size_t number_end = text.find_first_not_of("0123456789", 5);
  EXPECT_TRUE(text.starts_with("atd: ") && text.substr(number_end).starts_with(" lines not shown\n"));
  EXPECT_TRUE(text.ends_with(" Atd: stop_socket\n")) << text.substr(text.size() - 300);
  close(terminal);
  close(stopped);
}

// The client of docs/protocol.md and a batch take turns: each hears the answers of both.
TEST_F(Daemon, ServesADocumentedClientBesideABatch) {
  const std::string page = content(ATD_DOCS "/protocol.md"), mark = "```python\n", device = root_ + "/phone";
  const size_t begin = page.find(mark) + mark.size();
  std::ofstream(root_ + "/client.py") << page.substr(begin, page.find("```", begin) - begin)
                                      << "import socket\nwith socket.socket(socket.AF_UNIX) as s:\n"
                                         "  s.connect('phone/dev/socket/atd')\n  for i in range(300):\n"
                                         "    print(*request(s, 'phone/dev/socket/atd', 4010), flush=True)\n"
                                         "  s.settimeout(5)\n  try: exchange(s, b'nonsense', b'601 ')\n"
                                         "  except ValueError as error: print(error.args[0])\n";
  std::string batch, right, answers;
  for (int i = 0; i < 300; ++i) batch += "get_msn -> OK M123456\n", right += "0 0 b'SN77'\n";
  ASSERT_TRUE(start({"--device", "phone"}) && serves());
  for (const char* item : {"9 SN77", "18 M123456"}) {
    EXPECT_EQ(0, atdctl("", words("--device " + device + " phone item set " + item)).status);
  }
  FILE* python = popen(("cd " + root_ + " && python3 client.py 2>&1").c_str(), "re");
  char first = 0;  // once it is there both ask
  EXPECT_EQ(1, read(fileno(python), &first, 1));
  EXPECT_EQ(0, atdctl("", {"--device", device, "batch"}, batch).status);
  sim::read_rest(fileno(python), &answers);
  pclose(python);
  EXPECT_EQ(right + "b'500 Command not recognized'\n", first + answers);
  Peer platform(path("dev/socket/atd"));
  std::filesystem::create_directory_symlink(device, root_ + "/link");
  const Outcome doctor = atdctl("", {"--device", root_ + "/link", "doctor"});
  EXPECT_TRUE(doctor.status == 0 && has(doctor.out, "ok        platform    1 other client is connected, which may"))
      << doctor.out;
}

}  // namespace
}  // namespace atd::client
