// The records in the socket's lines and messages, as its clients and tools see them.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

namespace atd {

// The text as a line carries it after its command word: backslashes and double quotes escaped.
std::string quote(const std::string& text);

// The base64 text of bytes.
std::string to_base64(std::string_view bytes);

// The line that tells the daemon that the platform is ready, and the line that makes it send an AT command to the
// platform.
std::string initialize_line();
std::string send_line(const std::string& command);

// The line of a request; `payload` is at most 2048 bytes.
std::string request_line(int32_t opcode, const std::string& payload);

struct Response {
  int32_t result = 0;
  int32_t result_status = 0;
  std::string data;  // its data_len bytes
};

// The line that answers a request to the platform; `data` is at most 2048 bytes.
std::string response_line(const Response& response);

// Decodes the text of an answer; false with the reason in *error when it is not a whole record.
bool decode_response(const std::string& text, Response* response, std::string* error);

struct Request {
  int32_t opcode = 0;
  std::string payload;
};

// Decodes the text of a request to the platform; false when the text is anything else, such as an AT command.
bool decode_request(const std::string& text, Request* request);

}  // namespace atd
