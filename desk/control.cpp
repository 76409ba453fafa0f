#include "desk/control.h"

#include "desk/json_bytes.h"

namespace atd {

namespace {

// A text that is not there is empty.
bool take(const Json& json, std::string* bytes) {
  bytes->clear();
  return json.is_null() || from_json(json, bytes);
}

}  // namespace

std::string to_line(const ControlRequest& request) {
  Json words = Json::array();
  for (const std::string& word : request.words) words.push_back(to_json(word));
  Json json = {{"words", words}, {"json", request.json}};
  if (request.progress) json["progress"] = true;
  if (!request.input.empty()) json["input"] = to_json(request.input);
  return json.dump() + "\n";
}

std::string to_line(const ControlReply& reply) {
  Json json = Json::object();
  if (!reply.out.empty()) json["out"] = to_json(reply.out);
  if (!reply.progress.empty()) json["progress"] = to_json(reply.progress);
  if (reply.last) json["status"] = reply.status;
  if (!reply.error.empty()) json["error"] = to_json(reply.error);
  return json.dump() + "\n";
}

bool from_line(const std::string& line, ControlRequest* request) {
  const Json json = Json::parse(line, nullptr, false);
  if (!json.is_object() || !field(json, "words").is_array()) return false;
  *request = {};
  for (const Json& word : json["words"]) {
    if (!take(word, &request->words.emplace_back())) return false;
  }
  request->json = field(json, "json") == true;
  request->progress = field(json, "progress") == true;
  return take(field(json, "input"), &request->input);
}

bool from_line(const std::string& line, ControlReply* reply) {
  const Json json = Json::parse(line, nullptr, false);
  if (!json.is_object()) return false;
  *reply = {};
  const Json status = field(json, "status");
  reply->last = status.is_number_integer();
  if (reply->last) reply->status = status.get<int>();
  return take(field(json, "out"), &reply->out) && take(field(json, "progress"), &reply->progress) &&
         take(field(json, "error"), &reply->error);
}

}  // namespace atd
