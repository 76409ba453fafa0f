// A daemon that says what a test wants, and the client run against it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "client/cli.h"
#include "desk/records.h"
#include "transport/base64.h"

namespace atd::client {

using Strings = std::vector<std::string>;

inline std::string base64(const std::string& bytes) {
  std::string text(base64_text_size(bytes.size()), '\0');
  text.resize(base64_encode(bytes.data(), static_cast<int>(bytes.size()), text.data()));
  return text;
}

// An answer whose data_len says what it likes.
inline std::string answer(int32_t result, int32_t data_len, const std::string& data, int32_t status = 0) {
  int32_t head[] = {result, data_len, status};
  return "210 " + base64(std::string(reinterpret_cast<char*>(head), sizeof head) + data) + '\0';
}

inline std::string answer(int32_t result, const std::string& data) {
  return answer(result, static_cast<int32_t>(data.size()), data);
}

// Serves one client after the other; refuses "ping" as the daemon does, and answers other lines as the test says. A
// reply that ends in "BYE" has the connection closed behind it.
class FakeDaemon {
 public:
  explicit FakeDaemon(std::function<std::string(const std::string& line)> script, const std::string& greeting = "")
      : script_(std::move(script)), greeting_(greeting) {
    root_ = testing::TempDir() + "atdctlXXXXXX";
    EXPECT_NE(mkdtemp(root_.data()), nullptr);
    std::string folder = root_ + "/" + std::string(120, 'd');  // longer than a socket's address
    std::filesystem::create_directory(folder);
    socket_ = folder + "/atd";
    int folder_fd = open(folder.c_str(), O_PATH);
    sockaddr_un address = {AF_UNIX, ""};
    snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/atd", folder_fd);
    listener_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    listen(listener_, 4);
    close(folder_fd);
    thread_ = std::thread([this] { serve(); });
  }

  ~FakeDaemon() {
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
    std::filesystem::remove_all(root_);
  }

  const std::string& socket() const { return socket_; }

  Strings lines() {
    std::lock_guard guard(mutex_);
    return lines_;
  }

 private:
  void serve() {
    for (int fd; (fd = accept(listener_, nullptr, nullptr)) >= 0; close(fd)) {
      Splitter splitter;
      char bytes[16384];
      bool open = say(fd, greeting_);
      for (ssize_t size; open && (size = read(fd, bytes, sizeof bytes)) > 0;) {
        splitter.add(bytes, size);
        for (Message line; open && splitter.next(&line);) open = say(fd, reply_to(line.bytes));
      }
    }
  }

  std::string reply_to(const std::string& line) {
    if (line == "ping") return std::string("500 Command not recognized") + '\0';
    std::lock_guard guard(mutex_);
    lines_.push_back(line);
    return script_(line);
  }

  static bool say(int fd, const std::string& reply) {
    bool bye = reply.ends_with("BYE");
    return send(fd, reply.data(), reply.size() - (bye ? 3 : 0), MSG_NOSIGNAL) >= 0 && !bye;
  }

  std::function<std::string(const std::string&)> script_;
  std::string greeting_, root_, socket_;
  int listener_;
  std::mutex mutex_;
  Strings lines_;
  std::thread thread_;
};

struct Outcome {
  int status;
  std::string out, err;
};

// Runs atdctl on a socket, with `input` on its standard input. One at a time: it takes the process's output.
inline Outcome atdctl(const std::string& socket, Strings arguments, const std::string& input = "") {
  arguments.insert(arguments.begin(), {"atdctl", "--socket", socket});
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  FILE* file = tmpfile();
  fwrite(input.data(), 1, input.size(), file);
  rewind(file);
  int before = dup(STDIN_FILENO);
  dup2(fileno(file), STDIN_FILENO);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  int status = run(static_cast<int>(argv.size()), argv.data());
  dup2(before, STDIN_FILENO);
  close(before);
  fclose(file);
  return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

inline Outcome atdctl(FakeDaemon& daemon, const Strings& arguments, const std::string& input = "") {
  return atdctl(daemon.socket(), arguments, input);
}

}  // namespace atd::client
