#include "simulator/phone_file/toml_reader.h"

#include <algorithm>
#include <filesystem>

#include "desk/nearest.h"
#include "desk/words.h"

namespace atd::sim {

namespace fs = std::filesystem;

bool TomlReader::fail(const toml::source_region& where, const std::string& what) {
  *error_ = name_ + ":" + std::to_string(where.begin.line) + ": " + what;
  return false;
}

bool TomlReader::unknown(const toml::key& key, const char* what, const std::vector<std::string>& names) {
  const std::string name(key.str());
  return fail(key.source(),
              std::string(what) + " \"" + name + "\" is not there; nearest: " + listed(nearest(name, names, 3)));
}

bool TomlReader::take_text(const toml::node& node, const std::string& what, std::string* text) {
  if (!node.is_string()) return fail(node, what + " is a text in quotes");
  *text = *node.value<std::string>();
  // What takes them is made of lines.
  return text->find_first_of(std::string("\0\n", 2)) == text->npos || fail(node, what + " stands on one line");
}

bool TomlReader::take_texts(const toml::node& node, const std::string& what, std::vector<std::string>* texts) {
  if (!node.is_array()) return fail(node, what + " stand in an array of texts: [\"...\", \"...\"]");
  for (const toml::node& one : *node.as_array()) {
    if (!take_text(one, "each of " + what, &texts->emplace_back())) return false;
  }
  return true;
}

bool TomlReader::take_content(const toml::node& node, Content* content) {
  if (const toml::array* pieces = node.as_array()) {
    for (const toml::node& piece : *pieces) {
      if (piece.is_array() || !take_content(piece, content))
        return piece.is_array() ? fail(piece, "one array too many") : false;
    }
    return true;
  }
  const toml::table* table = node.as_table();
  const auto only = [&](const char* key) { return table && table->size() == 1 ? table->get(key) : nullptr; };
  std::string bytes;
  if (const toml::node* zeros = only("zeros")) {
    const int64_t count = zeros->is_integer() ? *zeros->value<int64_t>() : 0;
    if (count < 1 || count > kSizeMax - content->size) {
      return fail(node, "zeros are a number from 1 to " + std::to_string(kSizeMax) + " in all");
    }
    content->size += count;
    return true;
  }
  if (const toml::node* hex = only("hex"); hex && hex->is_string()) {
    std::string digits = *hex->value<std::string>();
    std::erase_if(digits, [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; });
    if (!from_hex(digits, &bytes)) return fail(node, "hex is pairs of hex digits");
  } else if (node.is_string()) {
    bytes = *node.value<std::string>();
  } else {
    return fail(node, "the value is \"text\", { hex = \"00ff\" }, { zeros = 16 }, or an array of these");
  }
  return content->put(content->size, std::move(bytes)) || fail(node, "what follows so many zeros does not fit");
}

bool is_path(const std::string& path) {
  bool good =
      path.starts_with('/') && !path.ends_with('/') && path.find('\0') == path.npos && path.find("//") == path.npos;
  for (const fs::path& part : fs::path(path.substr(std::min<size_t>(path.size(), 1)))) {
    good = good && !part.empty() && part != "." && part != "..";
  }
  return good;
}

bool TomlReader::take_path(const toml::node& node, const std::string& path) {
  return is_path(path) || fail(node, "\"" + path + "\" is no path of the phone: write it from \"/\", without \"..\"");
}

}  // namespace atd::sim
