#include "desk/recording.h"

#include <limits.h>
#include <stdio.h>

#include <algorithm>
#include <iterator>

#include "desk/json_bytes.h"

namespace atd {

namespace {

// What an event of no bytes and no message is called.
struct KindName {
  Event::Kind kind;
  const char* name;
};

constexpr KindName kKinds[] = {
    {Event::Kind::connect, "connect"}, {Event::Kind::disconnect, "disconnect"}, {Event::Kind::missed, "missed"}};

bool read_time(const Json& json, struct timespec* time) {
  if (!json.is_string()) return false;
  tm utc = {};
  double seconds = 0;
  int end = 0;
  const std::string& text = json.get_ref<const std::string&>();
  const int count = sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%lfZ%n", &utc.tm_year, &utc.tm_mon, &utc.tm_mday,
                           &utc.tm_hour, &utc.tm_min, &seconds, &end);
  if (count != 6 || static_cast<size_t>(end) != text.size() || !(seconds >= 0 && seconds < 61)) return false;
  utc.tm_year -= 1900;
  --utc.tm_mon;
  const time_t whole = static_cast<time_t>(seconds);
  const long nanoseconds = static_cast<long>((seconds - static_cast<double>(whole)) * 1e9 + 0.5);
  *time = {timegm(&utc) + whole, std::min(nanoseconds, 999999999L)};
  return true;
}

// A field's number, at least `lowest`; null counts as 0.
bool read_number(const Json& json, int lowest, int* number) {
  *number = 0;
  if (!json.is_number_integer()) return json.is_null() && lowest <= 0;
  const double value = json.get<double>();  // all of an int's values are exact
  if (value < lowest || value > INT_MAX) return false;
  *number = json.get<int>();
  return true;
}

}  // namespace

std::string event_line(const Event& event) {
  const bool inward = event.kind != Event::Kind::message;
  Json json = {{"time", iso_time(event.time)}, {"dir", inward ? "in" : "out"}};
  json["client"] = event.client == 0 ? Json() : Json(event.client);
  if (event.kind == Event::Kind::message) {
    json["code"] = event.message.code == 0 ? Json() : Json(event.message.code);
    json["text"] = to_json(event.message.text);
  } else if (event.kind == Event::Kind::input) {
    json["bytes"] = to_json(event.bytes);
  }
  for (const KindName& row : kKinds) {
    if (row.kind == event.kind) json["event"] = row.name;
  }
  if (event.kind == Event::Kind::missed) json["count"] = event.count;
  return json.dump() + "\n";
}

std::string parse_event(const std::string& line, Event* event) {
  const Json json = Json::parse(line, nullptr, false);
  if (!json.is_object()) return "not a line of a recording, which is a JSON object";
  if (!read_time(field(json, "time"), &event->time)) return "\"time\" is not written as 2026-01-31T13:05:00.000001Z";
  const bool inward = field(json, "dir") == "in";
  if (!inward && field(json, "dir") != "out") return "\"dir\" is neither \"in\" nor \"out\"";
  if (!read_number(field(json, "client"), inward, &event->client)) return "\"client\" is not a client's number";
  if (!inward) {
    event->kind = Event::Kind::message;
    if (!read_number(field(json, "code"), 0, &event->message.code)) return "\"code\" is not a number";
    return from_json(field(json, "text"), &event->message.text) ? "" : "\"text\" is neither a text nor {\"hex\": ...}";
  }
  if (json.contains("bytes")) {
    event->kind = Event::Kind::input;
    return from_json(json["bytes"], &event->bytes) ? "" : "\"bytes\" is neither a text nor {\"hex\": ...}";
  }
  for (const KindName& row : kKinds) {
    if (field(json, "event") != row.name) continue;
    event->kind = row.kind;
    const bool counted = row.kind != Event::Kind::missed || read_number(field(json, "count"), 1, &event->count);
    return counted ? "" : "\"count\" is not a number";
  }
  return "neither \"bytes\" nor an \"event\": connect, disconnect or missed";
}

std::string iso_time(const struct timespec& time) {
  tm utc;
  char seconds[32], whole[64];
  gmtime_r(&time.tv_sec, &utc);
  strftime(seconds, sizeof seconds, "%Y-%m-%dT%H:%M:%S", &utc);
  snprintf(whole, sizeof whole, "%s.%06ldZ", seconds, time.tv_nsec / 1000);
  return whole;
}

}  // namespace atd
