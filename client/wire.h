// What travels on the socket: lines to the daemon, messages from it, and the records in them.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>

namespace atd::client {

// The longest line that the daemon takes, in bytes without its NUL: it reads the socket 16382 bytes at a time and drops
// what has no end in the same read.
inline constexpr size_t kLineMax = 16381;

// Codes of messages.
inline constexpr int kCopyCode = 200;      // a copy of the message just before
inline constexpr int kAnswerCode = 210;    // the answer to a request
inline constexpr int kRefusedCode = 500;   // a reply to the sender alone: the line was not understood
inline constexpr int kReadyCode = 601;     // the daemon has seen "initialize"
inline constexpr int kStoppedCode = 602;   // the daemon stops
inline constexpr int kPlatformCode = 605;  // an AT command, or a request of the daemon's own, for the platform
inline constexpr int kTakenCode = 610;     // the daemon has taken the platform's answer

// One message of the daemon.
struct Message {
  int code = 0;       // 0 when the message does not begin with one
  std::string text;   // what lies behind the code and a blank
  std::string bytes;  // the whole message as it came, without its NUL
};

// Cuts the bytes of a connection into messages, however they were split on the way.
class Splitter {
 public:
  void add(const char* bytes, size_t size) { pending_.append(bytes, size); }

  // Takes the next whole message into *message; false when there is none yet.
  bool next(Message* message);

  // Bytes of the message that has no end yet.
  size_t pending() const { return pending_.size() - begin_; }

 private:
  std::string pending_;
  size_t begin_ = 0;    // of the first message not yet taken
  size_t scanned_ = 0;  // no NUL from begin_ up to here
};

// The text as a line carries it behind its command word: backslashes and double quotes escaped.
std::string quote(const std::string& text);

// The line of a request; `payload` is at most 2048 bytes.
std::string request_line(int32_t opcode, const std::string& payload);

struct Response {
  int32_t result = 0;
  int32_t result_status = 0;
  std::string data;  // its data_len bytes
};

// The line that answers a request to the platform; `data` is at most 2048 bytes.
std::string response_line(const Response& response);

// Decodes the text of an answer; false with the reason in *error when it is no whole record.
bool decode_response(const std::string& text, Response* response, std::string* error);

struct Request {
  int32_t opcode = 0;
  std::string payload;
};

// Decodes the text of a request to the platform; false when the text is anything else, as an AT command is.
bool decode_request(const std::string& text, Request* request);

}  // namespace atd::client
