#include "desk/control.h"

#include <nlohmann/json.hpp>

#include "desk/words.h"

namespace atd {

namespace {

using Json = nlohmann::json;

// A line is JSON, and JSON is UTF-8; other bytes travel in hex.
Json to_json(const std::string& bytes) { return is_utf8(bytes) ? Json(bytes) : Json{{"hex", to_hex(bytes)}}; }

bool from_json(const Json& json, std::string* bytes) {
  bytes->clear();
  if (json.is_string()) *bytes = json.get<std::string>();
  if (json.is_null() || json.is_string()) return true;
  if (!json.is_object() || !json.contains("hex") || !json["hex"].is_string()) return false;
  std::string_view rest = json["hex"].get_ref<const std::string&>();
  while (take_hex_pair(&rest, bytes)) {
  }
  return rest.empty();
}

Json field(const Json& json, const char* name) { return json.contains(name) ? json[name] : Json(); }

}  // namespace

std::string to_line(const ControlRequest& request) {
  Json words = Json::array();
  for (const std::string& word : request.words) words.push_back(to_json(word));
  Json json = {{"words", words}, {"json", request.json}};
  if (!request.input.empty()) json["input"] = to_json(request.input);
  return json.dump() + "\n";
}

std::string to_line(const ControlReply& reply) {
  Json json = Json::object();
  if (!reply.out.empty()) json["out"] = to_json(reply.out);
  if (reply.last) json["status"] = reply.status;
  if (!reply.error.empty()) json["error"] = to_json(reply.error);
  return json.dump() + "\n";
}

bool from_line(const std::string& line, ControlRequest* request) {
  const Json json = Json::parse(line, nullptr, false);
  if (!json.is_object() || !field(json, "words").is_array()) return false;
  *request = {};
  for (const Json& word : json["words"]) {
    if (!from_json(word, &request->words.emplace_back())) return false;
  }
  const Json for_programs = field(json, "json");
  request->json = for_programs.is_boolean() && for_programs.get<bool>();
  return from_json(field(json, "input"), &request->input);
}

bool from_line(const std::string& line, ControlReply* reply) {
  const Json json = Json::parse(line, nullptr, false);
  if (!json.is_object()) return false;
  *reply = {};
  const Json status = field(json, "status");
  reply->last = status.is_number_integer();
  if (reply->last) reply->status = status.get<int>();
  return from_json(field(json, "out"), &reply->out) && from_json(field(json, "error"), &reply->error);
}

}  // namespace atd
