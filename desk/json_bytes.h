// Bytes in JSON, which holds UTF-8 alone: a text as it is, or {"hex": "00ff"}.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace atd {

using Json = nlohmann::ordered_json;

// The bytes as a text, or in hex where they are not UTF-8.
Json to_json(const std::string& bytes);

// Takes such bytes back; false for any other JSON.
bool from_json(const Json& json, std::string* bytes);

// The value of a name, null where there is none.
Json field(const Json& json, const char* name);

}  // namespace atd
