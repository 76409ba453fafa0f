#include "client/json.h"

#include "client/output.h"
#include "desk/json_bytes.h"
#include "desk/recording.h"
#include "desk/words.h"
#include "platform/records.h"

namespace atd::client {
namespace {

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
  const Shape shape = shape_of(row, data);
  json["data_len"] = data.size();
  json["text"] = shape == Shape::text ? Json(text_of(data)) : Json();
  json["byte"] = shape == Shape::byte ? Json(static_cast<unsigned char>(data[0])) : Json();
  json["hex"] = data.empty() ? Json() : Json(to_hex(data));
}

// A response; the `row` is that of the opcode it answers, null for one that is not listed.
void put_response(Json& json, const Opcode* row, const Response& response) {
  json["result"] = response.result;
  json["result_name"] = row == nullptr ? result_name(response.result) : result_name(row->number, response.result);
  json["result_status"] = response.result_status;
  put_data(json, row, response.data);
  const bool is_text = row != nullptr && row->answer == Answer::text && response.result == RZCMD_OK;
  if (is_text && response.data.empty()) json["text"] = "";
}

// How a command or a line of a batch ended.
void put_end(Json& json, int status, const std::string& error) {
  json["status"] = status;
  json["error"] = error.empty() ? Json() : Json(visible(error));
}

Json expected_json(const std::optional<Expected>& expected) {
  if (!expected) return Json();
  Json json;
  json["result"] = expected->result;
  json["text"] = expected->data && is_utf8(*expected->data) && expected->is_text ? Json(*expected->data) : Json();
  json["hex"] = expected->data ? Json(to_hex(*expected->data)) : Json();
  return json;
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
  json["opcode"] = row.number;
  json["name"] = row.name;
  json["payload"] = row.payload == Payload::none ? Json() : Json(to_text(row.payload));
  json["answer"] = to_text(row.answer);
  json["destructive"] = (row.effects & kDestructive) != 0;
  json["modem"] = (row.effects & kModem) != 0;
  json["state"] = to_text(row.state);
  json["summary"] = row.summary;
  return to_line(json);
}

std::string answer_json(int32_t opcode, const Response& response) {
  Json json;
  put_opcode(json, opcode);
  put_response(json, find_opcode(opcode), response);
  put_end(json, result_status(response.result), "");
  return to_line(json);
}

std::string failure_json(int status, const std::string& error) {
  Json json;
  put_end(json, status, error);
  return to_line(json);
}

std::string batch_failure_json(const BatchResult& result) {
  Json json;
  json["line"] = result.line.number;
  put_text(json, "request", result.line.text);
  put_end(json, result.failure.status, result.failure.text);
  return to_line(json);
}

std::string batch_answer_json(const BatchResult& result) {
  const BatchLine& line = result.line;
  Json json;
  json["line"] = line.number;
  put_opcode(json, line.opcode);
  put_response(json, find_opcode(line.opcode), result.response);
  json["expected"] = expected_json(line.expected);
  json["met"] = line.expected ? Json(status_of(result) == kOk) : Json();
  put_end(json, status_of(result), "");
  return to_line(json);
}

std::string batch_request_json(const BatchLine& line) {
  Json json;
  json["line"] = line.number;
  put_opcode(json, line.opcode);
  put_data(json, nullptr, line.payload);
  json["expected"] = expected_json(line.expected);
  put_end(json, kOk, "");
  return to_line(json);
}

std::string reply_json(const timespec& time, const Message& message) {
  Json json = seen(time, 1, message);
  put_end(json, kOk, "");
  return to_line(json);
}

std::string check_json(const Check& check) {
  Json json;
  json["check"] = check.name;
  json["state"] = to_text(check.state);
  json["found"] = visible(check.found);
  json["advice"] = check.advice.empty() ? Json() : Json(visible(check.advice));
  return to_line(json);
}

std::string wait_json(double seconds) {
  Json json;
  json["seconds"] = seconds;
  put_end(json, kOk, "");
  return to_line(json);
}

std::string replay_json(int compared, const Difference* difference, int status, const std::string& error) {
  Json json;
  json["compared"] = compared;
  Json& where = json["difference"] = Json();
  if (difference != nullptr) {
    const bool has_input = difference->input_line > 0;
    where["line"] = difference->line;
    where["input_line"] = has_input ? Json(difference->input_line) : Json();
    where["client"] = has_input ? Json(difference->client) : Json();
    where["input"] = has_input ? Json(difference->input) : Json();
    where["expected"] = difference->expected;
    where["got"] = visible(difference->got);  // perhaps why nothing came, with a path
  }
  put_end(json, status, error);
  return to_line(json);
}

std::string message_json(const timespec& time, int sequence, const Message& message) {
  return to_line(seen(time, sequence, message));
}

std::string event_json(const timespec& time, const char* event) {
  Json json;
  json["time"] = iso_time(time);
  json["event"] = event;
  return to_line(json);
}

std::string request_json(const timespec& time, int sequence, const Message& message, const Response* answer) {
  Json json = seen(time, sequence, message);
  json["answer"] = nullptr;
  if (answer != nullptr) put_response(json["answer"], nullptr, *answer);
  return to_line(json);
}

}  // namespace atd::client
