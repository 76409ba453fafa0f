// A daemon that says what a test wants, and the client run against it.
#pragma once

#include <algorithm>
#include <functional>
#include <mutex>
#include <thread>

#include "client/cli.h"
#include "tests/phone.h"

namespace atd::client {

using Strings = std::vector<std::string>;

// An answer with any data_len.
inline std::string answer(int32_t result, int32_t data_len, const std::string& data, int32_t status = 0) {
  int32_t head[] = {result, data_len, status};
  return "210 " + to_base64(std::string(reinterpret_cast<char*>(head), sizeof head) + data) + '\0';
}

inline std::string answer(int32_t result, const std::string& data) {
  return answer(result, static_cast<int32_t>(data.size()), data);
}

// A local socket in a folder of its own, with a thread that serves the clients one after the other.
class FakeServer {
 public:
  // The socket is FOLDER/NAME in the root; a long FOLDER makes the path longer than a socket address holds.
  FakeServer(const std::string& folder, const std::string& name, std::function<void(int fd)> serve)
      : serve_(std::move(serve)) {
    root_ = testing::TempDir() + "atdctlXXXXXX";
    EXPECT_NE(mkdtemp(root_.data()), nullptr);
    std::filesystem::create_directories(root_ + "/" + folder);
    path_ = root_ + "/" + folder + "/" + name;
    const SocketAddress address(path_);
    listener_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(bind(listener_, address.get(), address.size()), 0);
    listen(listener_, 4);
    thread_ = std::thread([this] {
      for (int fd; (fd = accept(listener_, nullptr, nullptr)) >= 0; close(fd)) serve_(fd);
    });
  }

  ~FakeServer() {
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
    std::filesystem::remove_all(root_);
  }

  const std::string& root() const { return root_; }
  const std::string& path() const { return path_; }

  // Sends a reply; false when it ends in "BYE", which asks to close the connection after it.
  static bool say(int fd, const std::string& reply) {
    const bool bye = reply.ends_with("BYE");
    return send(fd, reply.data(), reply.size() - (bye ? 3 : 0), MSG_NOSIGNAL) >= 0 && !bye;
  }

 private:
  std::function<void(int)> serve_;
  std::string root_, path_;
  int listener_;
  std::thread thread_;
};

// Refuses "ping" as the daemon does, and answers other lines as the test says.
class FakeDaemon {
 public:
  using Script = std::function<std::string(const std::string& line)>;
  explicit FakeDaemon(Script script, const std::string& greeting = "", char line_end = '\0',
                      const std::string& folder = std::string(120, 'd'), const std::string& name = "atd")
      : script_(std::move(script)),
        greeting_(greeting),
        line_end_(line_end),
        server_(folder, name, [this](int fd) { serve(fd); }) {}

  const std::string& root() const { return server_.root(); }
  const std::string& socket() const { return server_.path(); }

  Strings lines() {
    std::lock_guard guard(mutex_);
    return lines_;
  }

 private:
  void serve(int fd) {
    std::string pending;
    char bytes[16384];
    bool open = FakeServer::say(fd, greeting_);
    for (ssize_t size; open && (size = read(fd, bytes, sizeof bytes)) > 0;) {
      pending.append(bytes, static_cast<size_t>(size));
      for (size_t end; open && (end = pending.find(line_end_)) != pending.npos; pending.erase(0, end + 1)) {
        open = FakeServer::say(fd, reply_to(pending.substr(0, end)));
      }
    }
  }

  std::string reply_to(const std::string& line) {
    if (line == "ping") return std::string("500 Command not recognized") + '\0';
    std::lock_guard guard(mutex_);
    lines_.push_back(line);
    return script_(line);
  }

  Script script_;
  std::string greeting_;
  char line_end_;
  std::mutex mutex_;
  Strings lines_;
  FakeServer server_;  // ends before what it uses
};

struct Outcome {
  int status;
  std::string out, err;
};

// What is wrong with the JSON that atdctl printed for these arguments, "" where it is as docs/json-schema.json has it.
std::string not_as_documented(const Strings& arguments, const std::string& out);

// Runs atdctl on a socket, "" for none, with `input` on its standard input, after `prepare`. Only one may run at a
// time, since it takes the process's output.
inline Outcome atdctl(
    const std::string& socket, Strings arguments, const std::string& input = "",
    const std::function<void()>& prepare = [] {}) {
  arguments.insert(arguments.begin(), "atdctl");
  if (!socket.empty()) arguments.insert(arguments.begin() + 1, {"--socket", socket});
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  FILE* file = tmpfile();
  fwrite(input.data(), 1, input.size(), file);
  rewind(file);
  int before = dup(STDIN_FILENO);
  dup2(fileno(file), STDIN_FILENO);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  prepare();
  int status = run(static_cast<int>(argv.size()), argv.data());
  EXPECT_EQ(0, seteuid(getuid()));  // whoever it was prepared to be
  dup2(before, STDIN_FILENO);
  close(before);
  fclose(file);
  const std::string out = testing::internal::GetCapturedStdout(), err = testing::internal::GetCapturedStderr();
  const auto options_end = std::find(arguments.begin(), arguments.end(), "--");
  if (std::find(arguments.begin(), options_end, "--json") != options_end)
    EXPECT_EQ("", not_as_documented(arguments, out));
  return {status, out, err};
}

inline Outcome atdctl(
    FakeDaemon& daemon, const Strings& arguments, const std::string& input = "",
    const std::function<void()>& prepare = [] {}) {
  return atdctl(daemon.socket(), arguments, input, prepare);
}

}  // namespace atd::client
