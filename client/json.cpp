#include "client/json.h"

#include <nlohmann/json.hpp>

#include "client/output.h"
#include "desk/recording.h"
#include "desk/words.h"

namespace atd::client {
namespace {

using Json = nlohmann::ordered_json;

std::string to_line(const Json& json) { return json.dump() + "\n"; }

// The text as the field of that name, or as "hex" where it is not UTF-8.
void put_text(Json& json, const char* name, const std::string& text) {
  const bool is_text = is_utf8(text);
  json[name] = is_text ? Json(text) : Json();
  json["hex"] = is_text ? Json() : Json(to_hex(text));
}

// The fields "opcode" and "name".
void put_opcode(Json& json, int32_t opcode) {
  const Opcode* row = find_opcode(opcode);
  json["opcode"] = opcode;
  json["name"] = row == nullptr ? Json() : Json(row->name);
}

// The fields "data_len", "text", "byte" and "hex".
void put_data(Json& json, const Opcode* row, const std::string& data) {
  Shape shape = shape_of(row, data);
  json["data_len"] = data.size();
  json["text"] = shape == Shape::text ? Json(text_of(data)) : Json();
  json["byte"] = shape == Shape::byte ? Json(static_cast<unsigned char>(data[0])) : Json();
  json["hex"] = data.empty() ? Json() : Json(to_hex(data));
}

void put_response(Json& json, const Opcode* row, const Response& response) {
  json["result"] = response.result;
  json["result_name"] = result_name(response.result);
  json["result_status"] = response.result_status;
  put_data(json, row, response.data);
}

Json decoded(const Message& message) {
  Json json;
  Response response;
  Request request;
  std::string error;
  if (message.code == kAnswerCode && decode_response(message.text, &response, &error)) {
    json["record"] = "response";
    put_response(json, nullptr, response);
  } else if ((message.code == kPlatformCode || message.code == kCopyCode) && decode_request(message.text, &request)) {
    json["record"] = "request";
    put_opcode(json, request.opcode);
    put_data(json, nullptr, request.payload);
  }
  return json;
}

Json seen(const timespec& time, int sequence, const Message& message) {
  Json json;
  json["time"] = iso_time(time);
  json["seq"] = sequence;
  json["code"] = message.code;
  put_text(json, "text", message.text);
  json["decoded"] = decoded(message);
  return json;
}

}  // namespace

std::string opcode_json(const Opcode& row) {
  Json json;
  json["number"] = row.number;
  json["name"] = row.name;
  json["payload"] = row.payload == Payload::none ? Json() : Json(to_text(row.payload));
  json["answer"] = to_text(row.answer);
  json["destructive"] = (row.effects & kDestructive) != 0;
  json["modem"] = (row.effects & kModem) != 0;
  json["state"] = to_text(row.state);
  json["summary"] = row.summary;
  return to_line(json);
}

std::string answer_json(int line, int32_t opcode, const Response& response) {
  Json json;
  if (line > 0) json["line"] = line;
  put_opcode(json, opcode);
  put_response(json, find_opcode(opcode), response);
  return to_line(json);
}

std::string failure_json(int line, const std::string& request, int status, const std::string& error) {
  Json json;
  json["line"] = line;
  put_text(json, "request", request);
  json["status"] = status;
  json["error"] = visible(error);
  return to_line(json);
}

std::string message_json(const timespec& time, int sequence, const Message& message) {
  return to_line(seen(time, sequence, message));
}

std::string request_json(const timespec& time, int sequence, const Message& message, const Response* answer) {
  Json json = seen(time, sequence, message);
  json["answer"] = nullptr;
  if (answer != nullptr) put_response(json["answer"], nullptr, *answer);
  return to_line(json);
}

}  // namespace atd::client
