#include "desk/framing.h"

#include <ctype.h>
#include <string.h>

#include <algorithm>
#include <memory>

#include "platform/records.h"
#include "transport/base64.h"
#include "transport/wire.h"

namespace atd {
namespace {

std::string decode(const std::string& text) {
  std::string bytes(text.size() / 4 * 3 + 3, '\0');
  bytes.resize(base64_decode(text.c_str(), bytes.data(), static_cast<int>(bytes.size())));
  return bytes;
}

std::string text_of(const void* record, int size) {
  return to_base64({static_cast<const char*>(record), static_cast<size_t>(size)});
}

int32_t int_at(const std::string& bytes, size_t offset) {
  int32_t value;
  memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

}  // namespace

std::string quote(const std::string& text) {
  std::string quoted;
  quoted.reserve(text.size());
  for (char c : text) {
    if (c == '\\' || c == '"') quoted += '\\';
    quoted += c;
  }
  return quoted;
}

std::string to_base64(std::string_view bytes) {
  std::string text(base64_text_size(bytes.size()), '\0');
  text.resize(static_cast<size_t>(base64_encode(bytes.data(), static_cast<int>(bytes.size()), text.data())));
  return text;
}

std::string initialize_line() { return std::string(kCommandWord) + " " + kInitializeArgument; }

std::string send_line(const std::string& command) {
  return std::string(kCommandWord) + " " + kAdcArgument + " " + quote(command);
}

std::string request_line(int32_t opcode, const std::string& payload) {
  auto record = std::make_unique<rzcmd_request>();
  record->opcode = opcode;
  record->data_len = bounded_length(static_cast<int32_t>(payload.size()));
  memcpy(record->data, payload.data(), record->data_len);
  return std::string(kRequestWord) + " " + text_of(record.get(), kRequestHeaderSize + record->data_len);
}

std::string response_line(const Response& response) {
  auto record = std::make_unique<rzcmd_response>();
  record->result = response.result;
  record->result_status = response.result_status;
  record->data_len = bounded_length(static_cast<int32_t>(response.data.size()));
  memcpy(record->data, response.data.data(), record->data_len);
  return std::string(kResponseWord) + " " + text_of(record.get(), kResponseHeaderSize + record->data_len);
}

bool decode_response(const std::string& text, Response* response, std::string* error) {
  std::string bytes = decode(text);
  if (bytes.size() < kResponseHeaderSize) {
    *error = "the answer has " + std::to_string(bytes.size()) + " bytes, a response has at least " +
             std::to_string(kResponseHeaderSize);
    return false;
  }
  int32_t data_len = int_at(bytes, offsetof(rzcmd_response, data_len));
  if (data_len != bounded_length(data_len)) {
    *error =
        "the answer's data_len is " + std::to_string(data_len) + ", not 0 to " + std::to_string(MAX_RZCMD_REQ_SIZE);
    return false;
  }
  size_t came = bytes.size() - kResponseHeaderSize;
  if (static_cast<size_t>(data_len) > came) {
    *error = "the answer's data_len is " + std::to_string(data_len) + ", but " + std::to_string(came) +
             " bytes of data came";
    return false;
  }
  response->result = int_at(bytes, offsetof(rzcmd_response, result));
  response->result_status = int_at(bytes, offsetof(rzcmd_response, result_status));
  response->data = bytes.substr(kResponseHeaderSize, data_len);
  return true;
}

bool decode_request(const std::string& text, Request* request) {
  size_t padding = text.size() - std::min(text.find_last_not_of('=') + 1, text.size());
  auto in_alphabet = [](unsigned char c) { return (c < 128 && isalnum(c)) || c == '+' || c == '/'; };
  if (text.size() % 4 != 0 || padding > 2) return false;
  if (!std::all_of(text.begin(), text.end() - padding, in_alphabet)) return false;
  std::string bytes = decode(text);
  if (bytes.size() < kRequestHeaderSize) return false;
  // A sender encodes data_len bytes of payload exactly; an AT command that looks like base64 gets no further than this.
  int32_t data_len = int_at(bytes, offsetof(rzcmd_request, data_len));
  if (data_len != bounded_length(data_len) || bytes.size() != static_cast<size_t>(kRequestHeaderSize + data_len)) {
    return false;
  }
  request->opcode = int_at(bytes, offsetof(rzcmd_request, opcode));
  request->payload = bytes.substr(kRequestHeaderSize);
  return true;
}

}  // namespace atd
