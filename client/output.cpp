#include "client/output.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>

#include "client/json.h"
#include "desk/words.h"
#include "platform/records.h"

namespace atd::client {
namespace {

constexpr size_t kShortHex = 24;  // bytes of a payload that a line has room for

// Bytes of the UTF-8 character at `at`, 0 when there is none that can be shown.
size_t character_size(const std::string& text, size_t at) {
  const size_t size = utf8_size(text, at);
  const unsigned char first = size > 0 ? static_cast<unsigned char>(text[at]) : 0;
  const bool control = first < ' ' || first == 0x7f;
  const bool second_control = first == 0xc2 && static_cast<unsigned char>(text[at + 1]) < 0xa0;
  return control || second_control ? 0 : size;
}

bool is_printable(const std::string& text) {
  for (size_t at = 0; at < text.size();) {
    size_t size = text[at] == '\n' || text[at] == '\r' || text[at] == '\t' ? 1 : character_size(text, at);
    if (size == 0) return false;
    at += size;
  }
  return true;
}

std::string byte_text(const std::string& data) {
  return fmt::format("{0} (0x{0:02x})", static_cast<unsigned char>(data[0]));
}

// The data in what is left of a line.
std::string short_data(const std::string& data, Shape shape) {
  if (shape == Shape::text) return "\"" + visible(text_of(data)) + "\"";
  if (shape == Shape::byte) return byte_text(data);
  return to_hex(data.substr(0, kShortHex)) + (data.size() > kShortHex ? "..." : "");
}

std::string with_data(const std::string& line, const std::string& data) {
  if (data.empty()) return line;
  return fmt::format("{}, {} {}: {}", line, data.size(), data.size() == 1 ? "byte" : "bytes",
                     short_data(data, shape_of(nullptr, data)));
}

std::string status_text(const Response& response) {
  return response.result_status == 0 ? "" : fmt::format(", status {}", response.result_status);
}

}  // namespace

int result_status(int32_t result) { return result >= RZCMD_OK && result <= kNotSupported ? result : kOther; }

std::string result_name(int32_t result) {
  switch (result) {
    case RZCMD_OK: return "OK";
    case RZCMD_FAIL: return "FAIL";
    case kNotSupported: return "not supported";
  }
  return std::to_string(result);
}

std::string result_name(int32_t opcode, int32_t result) {
  const Opcode* row = find_opcode(opcode);
  const bool missing = result == kNotSupported && row != nullptr && row->state == State::not_built;
  return missing ? to_text(State::not_built) : result_name(result);
}

Shape shape_of(const Opcode* row, const std::string& data) {
  if (data.empty()) return Shape::none;
  if (row != nullptr && row->answer == Answer::bytes) return Shape::hex;
  if (row != nullptr && row->answer == Answer::byte && data.size() == 1) return Shape::byte;
  std::string text = text_of(data);
  if (text.empty() && row != nullptr && row->answer == Answer::text) return Shape::text;
  if (!text.empty() && is_printable(text)) return Shape::text;
  return row == nullptr && data.size() == 1 ? Shape::byte : Shape::hex;
}

std::string text_of(const std::string& data) { return data.substr(0, data.find_last_not_of('\0') + 1); }

std::string hexdump(const std::string& bytes) {
  constexpr size_t kPerLine = 16;
  std::string dump;
  for (size_t offset = 0; offset < bytes.size(); offset += kPerLine) {
    dump += fmt::format("{:04x} ", offset);
    std::string characters;
    for (size_t i = offset; i < offset + kPerLine; ++i) {
      if (i % 8 == 0) dump += ' ';
      bool there = i < bytes.size();
      unsigned char byte = there ? bytes[i] : ' ';
      dump += there ? fmt::format("{:02x} ", byte) : "   ";
      if (there) characters += byte >= ' ' && byte < 0x7f ? static_cast<char>(byte) : '.';
    }
    dump += " |" + characters + "|\n";
  }
  return dump;
}

std::string visible(const std::string& text) {
  std::string shown;
  for (size_t at = 0; at < text.size();) {
    size_t size = character_size(text, at);
    if (size > 0) {
      shown += text.substr(at, size);
    } else if (text[at] == '\n' || text[at] == '\r' || text[at] == '\t') {
      shown += text[at] == '\n' ? "\\n" : text[at] == '\r' ? "\\r" : "\\t";
    } else {
      shown += fmt::format("\\x{:02x}", static_cast<unsigned char>(text[at]));
    }
    at += std::max<size_t>(size, 1);
  }
  return shown;
}

timespec wall_clock() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return now;
}

std::string clock_time(const timespec& time) {
  tm local;
  localtime_r(&time.tv_sec, &local);
  return fmt::format("{:%H:%M:%S}.{:06}", local, time.tv_nsec / 1000);
}

std::string in_words(double seconds) { return fmt::format("{:g} s", seconds); }

std::string opcode_title(int32_t opcode) {
  const Opcode* row = find_opcode(opcode);
  return row == nullptr ? std::to_string(opcode) : fmt::format("{} ({})", row->name, opcode);
}

std::string answer_text(int32_t opcode, const Response& response) {
  const Opcode* row = find_opcode(opcode);
  std::string text =
      fmt::format("{}: {}{}\n", opcode_title(opcode), result_name(opcode, response.result), status_text(response));
  switch (shape_of(row, response.data)) {
    case Shape::none: break;
    case Shape::text: text += text_of(response.data); break;
    case Shape::byte: text += byte_text(response.data); break;
    case Shape::hex: text += hexdump(response.data); break;
  }
  if (!text.ends_with('\n')) text += '\n';
  return text;
}

std::string response_text(const Response& response) {
  return with_data(result_name(response.result) + status_text(response), response.data);
}

std::string request_text(int32_t opcode, const std::string& payload) {
  return with_data("request " + opcode_title(opcode), payload);
}

std::string message_text(const Message& message) {
  Response response;
  Request request;
  std::string error;
  if (message.code == kAnswerCode) {
    if (decode_response(message.text, &response, &error)) return response_text(response);
    return (message.text.starts_with(kMalformed) ? "" : error + ": ") + visible(message.text);
  }
  if ((message.code == kPlatformCode || message.code == kCopyCode) && decode_request(message.text, &request)) {
    return request_text(request.opcode, request.payload);
  }
  return visible(message.text);
}

const char* code_name(int code) {
  switch (code) {
    case kCopyCode: return "copy";
    case kAnswerCode: return "answer";
    case kRefusedCode: return "refused";
    case kReadyCode: return "ready";
    case kStoppedCode: return "stopped";
    case kPlatformCode: return "platform";
    case kTakenCode: return "taken";
  }
  return "";
}

}  // namespace atd::client
