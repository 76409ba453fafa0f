// A good default phone for a test, in a folder of its own, with a virtual clock; and a client on its socket.
#pragma once

#include <android/log.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "desk/message.h"
#include "desk/framing.h"
#include "desk/socket_address.h"
#include "simulator/files.h"
#include "simulator/simulated_device.h"
#include "transport/base64.h"
#include "platform/records.h"

namespace atd {

class Phone : public testing::Test {
 protected:
  Phone() {
    // In memory where the machine has a folder for that.
    char memory[] = "/dev/shm/atd-test-XXXXXX", disk[] = "/tmp/atd-test-XXXXXX";
    root_ = made_ = mkdtemp(memory) ? memory : mkdtemp(disk);
    std::string error;
    device_ = sim::SimulatedDevice::open(root_, &error);
    if (!device_) ADD_FAILURE() << error;
    device().clock.make_virtual();
    device().syncs_writes = false;  // a test does not wait for the medium
  }

  ~Phone() override {
    device_.reset();
    std::filesystem::remove_all(made_);
  }

  sim::SimulatedDevice& device() { return *device_; }

  int logged(int priority, const std::string& text) { return device().logs.count(priority, text); }
  int logged(const std::string& text) { return logged(ANDROID_LOG_INFO, text); }
  int errors(const std::string& text) { return logged(ANDROID_LOG_ERROR, text); }

  // Puts a file of the phone, or an empty folder for a path that ends with a slash.
  void put(const std::string& path, const std::string& text = "") {
    std::filesystem::create_directories(std::filesystem::path(root_ + path).parent_path());
    if (!path.ends_with('/')) std::ofstream(root_ + path) << text;
  }

  // How many files this program has open.
  static ptrdiff_t descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
  }

  std::string made_;  // the folder that this test has
  std::string root_;
  std::unique_ptr<sim::SimulatedDevice> device_;
};

// One connection to a local socket, which reads messages one by one.
class Peer {
 public:
  explicit Peer(const std::string& path) : fd_(connect_to(path)) {
    if (fd_ < 0) ADD_FAILURE() << "connect " << path << ": " << strerror(errno);
  }
  ~Peer() { close(fd_); }
  Peer(const Peer&) = delete;

  // Sends bytes in one write.
  void send(const std::string& bytes) {
    ASSERT_EQ(ssize_t(bytes.size()), ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL));
  }

  // Sends a line with its NUL.
  void line(const std::string& text) { send(text + '\0'); }

  // The next message without its NUL; "(closed)" at the end of the stream, "(nothing)" when none comes in ten seconds.
  std::string next() {
    Message message;
    while (!splitter_.next(&message)) {
      struct pollfd ready = {fd_, POLLIN, 0};
      if (poll(&ready, 1, 10000) <= 0) return "(nothing)";
      char block[8192];
      ssize_t got = recv(fd_, block, sizeof block, 0);
      if (got <= 0) return "(closed)";
      splitter_.add(block, static_cast<size_t>(got));
    }
    return message.bytes;
  }

  std::vector<std::string> next(int count) {
    std::vector<std::string> result;
    while (count-- > 0) result.push_back(next());
    return result;
  }

 protected:
  int fd_;

 private:
  Splitter splitter_;
};

inline bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The words of a text, which blanks divide.
inline std::vector<std::string> words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

// What a file holds, "" when it cannot be read.
inline std::string content(const std::string& file) {
  std::string text;
  sim::read_file(file, &text);
  return text;
}

// What a command of the desktop prints.
inline std::string output_of(const std::string& command) {
  std::string text;
  FILE* pipe = popen(command.c_str(), "re");
  for (int c; (c = getc(pipe)) != EOF;) text += static_cast<char>(c);
  pclose(pipe);
  return text;
}

inline std::string encoded(const void* bytes, size_t length) {
  return to_base64({static_cast<const char*>(bytes), length});
}

// A request with its payload; `length` of -1 says the payload's own in data_len.
inline rzcmd_request request_of(int opcode, const std::string& payload, int length = -1) {
  rzcmd_request req = {};
  req.opcode = opcode;
  req.data_len = length == -1 ? static_cast<int>(payload.size()) : length;
  payload.copy(req.data, sizeof req.data);
  return req;
}

// Its base64 text.
inline std::string request_text(int opcode, const std::string& payload = {}, int length = -1) {
  const rzcmd_request req = request_of(opcode, payload, length);
  return encoded(&req, kRequestHeaderSize + std::min(payload.size(), sizeof req.data));
}

// The record in a 210 message; an impossible one when it is something else.
inline rzcmd_response response_of(const std::string& message) {
  rzcmd_response rsp = {};
  rsp.result = -12345;
  if (message.starts_with("210 ")) {
    rsp.result = 0;
    base64_decode(message.c_str() + 4, &rsp, sizeof rsp);
  }
  return rsp;
}

inline std::string data_of(const rzcmd_response& rsp) {
  return std::string(rsp.data, static_cast<size_t>(bounded_length(rsp.data_len)));
}

}  // namespace atd
