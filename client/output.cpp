#include "client/output.h"

#include <stdio.h>

#include <algorithm>
#include <iterator>

#include "desk/words.h"
#include "platform/records.h"

namespace atd::client {
namespace {

constexpr StatusMeaning kStatuses[] = {
    {kOk, "done; the result is 0"},
    {kFailed, "the result is 1: failed; a replay found a difference"},
    {kUnsupported, "the result is 2: not supported"},
    {kOther, "any other result, or an answer that is malformed"},
    {kUsage, "a mistake in the arguments, or in a file that they name"},
    {kNoDaemon, "no daemon at the socket, or it went away"},
    {kTimedOut, "no answer in time"},
};

int gravity(int status) {
  constexpr int kByGravity[] = {kOk, kFailed, kUnsupported, kOther, kUsage, kTimedOut, kNoDaemon};
  return static_cast<int>(std::find(std::begin(kByGravity), std::end(kByGravity), status) - std::begin(kByGravity));
}

constexpr size_t kShortHex = 24;  // bytes of a payload that a line of text has room for

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

template <typename... Args>
std::string format(const char* pattern, Args... args) {
  char text[128];
  snprintf(text, sizeof text, pattern, args...);
  return text;
}

std::string byte_text(const std::string& data) {
  unsigned byte = static_cast<unsigned char>(data[0]);
  return format("%u (0x%02x)", byte, byte);
}

// The data in what is left of a line.
std::string short_data(const std::string& data, Shape shape) {
  if (shape == Shape::text) return "\"" + visible(text_of(data)) + "\"";
  if (shape == Shape::byte) return byte_text(data);
  return to_hex(data.substr(0, kShortHex)) + (data.size() > kShortHex ? "..." : "");
}

std::string with_data(std::string line, const std::string& data) {
  if (data.empty()) return line;
  return line + ", " + std::to_string(data.size()) + (data.size() == 1 ? " byte: " : " bytes: ") +
         short_data(data, shape_of(nullptr, data));
}

}  // namespace

std::span<const StatusMeaning> statuses() { return kStatuses; }

int worse(int a, int b) { return gravity(a) >= gravity(b) ? a : b; }

int complain(const Failure& failure) {
  fflush(stdout);
  fprintf(stderr, "atdctl: %s\n", visible(failure.text).c_str());
  return failure.status;
}

void print(const std::string& text) {
  fwrite(text.data(), 1, text.size(), stdout);
  fflush(stdout);
}

int result_status(int32_t result) { return result >= RZCMD_OK && result <= kNotSupported ? result : kOther; }

std::string result_name(int32_t result) {
  switch (result) {
    case RZCMD_OK: return "OK";
    case RZCMD_FAIL: return "FAIL";
    case kNotSupported: return "not supported";
  }
  return std::to_string(result);
}

Shape shape_of(const Opcode* row, const std::string& data) {
  if (data.empty()) return Shape::none;
  if (row != nullptr && row->answer == Answer::bytes) return Shape::hex;
  if (row != nullptr && row->answer == Answer::byte && data.size() == 1) return Shape::byte;
  std::string text = text_of(data);
  if (!text.empty() && is_printable(text)) return Shape::text;
  return row == nullptr && data.size() == 1 ? Shape::byte : Shape::hex;
}

std::string text_of(const std::string& data) { return data.substr(0, data.find_last_not_of('\0') + 1); }

std::string hexdump(const std::string& bytes) {
  constexpr size_t kPerLine = 16;
  std::string dump;
  for (size_t offset = 0; offset < bytes.size(); offset += kPerLine) {
    dump += format("%04zx ", offset);
    std::string characters;
    for (size_t i = offset; i < offset + kPerLine; ++i) {
      if (i % 8 == 0) dump += ' ';
      bool there = i < bytes.size();
      unsigned char byte = there ? bytes[i] : ' ';
      dump += there ? format("%02x ", byte) : "   ";
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
      shown += format("\\x%02x", static_cast<unsigned char>(text[at]));
    }
    at += std::max<size_t>(size, 1);
  }
  return shown;
}

std::string clock_time(const timespec& time) {
  tm local;
  char clock[16];
  localtime_r(&time.tv_sec, &local);
  strftime(clock, sizeof clock, "%H:%M:%S", &local);
  return format("%s.%06ld", clock, time.tv_nsec / 1000);
}

std::string in_words(double seconds) { return format("%g s", seconds); }

std::string opcode_title(int32_t opcode) {
  const Opcode* row = find_opcode(opcode);
  std::string number = std::to_string(opcode);
  return row == nullptr ? number : std::string(row->name) + " (" + number + ")";
}

std::string answer_text(int32_t opcode, const Response& response) {
  const Opcode* row = find_opcode(opcode);
  std::string text = opcode_title(opcode) + ": " + result_name(response.result);
  if (response.result == kNotSupported && row != nullptr && row->state == State::not_built) {
    text += " (not in this build yet)";
  }
  if (response.result_status != 0) text += ", status " + std::to_string(response.result_status);
  text += '\n';
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
  std::string line = result_name(response.result);
  if (response.result_status != 0) line += ", status " + std::to_string(response.result_status);
  return with_data(line, response.data);
}

std::string message_text(const Message& message) {
  Response response;
  Request request;
  std::string error;
  if (message.code == kAnswerCode) {
    if (!decode_response(message.text, &response, &error)) return error + ": " + visible(message.text);
    return response_text(response);
  }
  if ((message.code == kPlatformCode || message.code == kCopyCode) && decode_request(message.text, &request)) {
    return with_data("request " + opcode_title(request.opcode), request.payload);
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
