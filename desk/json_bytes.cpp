#include "desk/json_bytes.h"

#include "desk/words.h"

namespace atd {

Json to_json(const std::string& bytes) { return is_utf8(bytes) ? Json(bytes) : Json{{"hex", to_hex(bytes)}}; }

bool from_json(const Json& json, std::string* bytes) {
  bytes->clear();
  if (json.is_string()) return *bytes = json.get<std::string>(), true;
  if (!json.is_object() || !json.contains("hex") || !json["hex"].is_string()) return false;
  return from_hex(json["hex"].get_ref<const std::string&>(), bytes);
}

Json field(const Json& json, const char* name) { return json.contains(name) ? json[name] : Json(); }

}  // namespace atd
