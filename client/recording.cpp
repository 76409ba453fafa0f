#include "client/recording.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "client/arguments.h"
#include "client/input.h"
#include "client/json.h"

namespace atd::client {
namespace {

using Json = nlohmann::ordered_json;

// The text as it is, or {"hex": ...} where it is not UTF-8.
Json text_or_hex(const std::string& text) {
  Json json = text;
  try {
    json.dump();
    return json;
  } catch (const Json::type_error&) {
    return {{"hex", hex(text)}};
  }
}

bool read_bytes(const Json& json, std::string* bytes) {
  bytes->clear();
  if (json.is_string()) {
    *bytes = json.get<std::string>();
    return true;
  }
  if (!json.is_object() || !json.contains("hex") || !json["hex"].is_string()) return false;
  const std::string& text = json["hex"].get_ref<const std::string&>();
  std::string_view rest = text;
  while (take_hex_pair(&rest, bytes)) {
  }
  return rest.empty();
}

bool read_time(const Json& json, double* time) {
  if (!json.is_string()) return false;
  tm utc = {};
  double seconds = 0;
  int end = 0;
  const std::string& text = json.get_ref<const std::string&>();
  int count = sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%lfZ%n", &utc.tm_year, &utc.tm_mon, &utc.tm_mday, &utc.tm_hour,
                     &utc.tm_min, &seconds, &end);
  if (count != 6 || static_cast<size_t>(end) != text.size()) return false;
  utc.tm_year -= 1900;
  --utc.tm_mon;
  *time = static_cast<double>(timegm(&utc)) + seconds;
  return true;
}

// A field's number, at least `lowest`; null counts as 0.
bool read_number(const Json& json, int lowest, int* number) {
  *number = 0;
  if (json.is_number_integer()) *number = json.get<int>();
  return (json.is_number_integer() || json.is_null()) && *number >= lowest;
}

// What is wrong with a line, empty when all is well.
std::string read_event(const Json& json, Event* event) {
  if (!json.is_object()) return "no line of a recording: it is a JSON object";
  auto field = [&](const char* name) { return json.contains(name) ? json[name] : Json(); };
  if (!read_time(field("time"), &event->time)) return "\"time\" is not as 2026-01-31T13:05:00.000001Z";
  bool inward = field("dir") == "in";
  if (!inward && field("dir") != "out") return "\"dir\" is neither \"in\" nor \"out\"";
  if (!read_number(field("client"), inward, &event->client)) return "\"client\" is no client's number";
  if (!inward) {
    event->kind = Event::Kind::message;
    if (!read_number(field("code"), 0, &event->message.code)) return "\"code\" is no number";
    return read_bytes(field("text"), &event->message.text) ? "" : "\"text\" is neither a text nor {\"hex\": ...}";
  }
  if (json.contains("bytes")) {
    event->kind = Event::Kind::input;
    return read_bytes(json["bytes"], &event->bytes) ? "" : "\"bytes\" is neither a text nor {\"hex\": ...}";
  }
  if (field("event") == "missed") {
    event->kind = Event::Kind::missed;
    return read_number(field("count"), 1, &event->count) ? "" : "\"count\" is no number";
  }
  event->kind = field("event") == "connect" ? Event::Kind::connect : Event::Kind::disconnect;
  if (event->kind == Event::Kind::connect || field("event") == "disconnect") return "";
  return "neither \"bytes\" nor an \"event\": connect, disconnect or missed";
}

}  // namespace

Failure read_recording(const std::string& file, std::vector<Event>* events) {
  bool is_input = file == "-";
  int fd = is_input ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {kUsage, file + ": " + strerror(errno)};
  Failure failure;
  InputLines lines(fd);
  std::string line;
  for (int number = 1; !failure && lines.take(&line); ++number) {
    if (line.empty()) continue;
    Event event;
    event.line = number;
    std::string error = read_event(Json::parse(line, nullptr, false), &event);
    if (!error.empty()) failure = {kUsage, file + ":" + std::to_string(number) + ": " + error};
    events->push_back(event);
  }
  if (!failure && lines.error() != 0) failure = {kUsage, file + ": " + strerror(lines.error())};
  if (!is_input) close(fd);
  return failure;
}

Recorder::~Recorder() {
  if (fd_ >= 0) close(fd_);
}

Failure Recorder::open(const std::string& file) {
  file_ = file;
  fd_ = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0660);
  if (fd_ >= 0) return {};
  return {kUsage, file + ": " + strerror(errno)};
}

Failure Recorder::write(const timespec& time, const Message& message) {
  Json json = {{"time", iso_time(time)}, {"dir", "out"}, {"client", nullptr}};
  json["code"] = message.code == 0 ? Json() : Json(message.code);
  json["text"] = text_or_hex(message.text);
  std::string line = json.dump() + "\n";
  ssize_t size = ::write(fd_, line.data(), line.size());
  if (size == static_cast<ssize_t>(line.size())) return {};
  return {kUsage, file_ + ": " + (size < 0 ? strerror(errno) : "no room for a line")};
}

}  // namespace atd::client
