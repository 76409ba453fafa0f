// The values of a phone's file. The first thing that is wrong is kept, as a sentence that names its line.
#pragma once

// The parser is headers alone; it says what is wrong in its result.
#define TOML_HEADER_ONLY 1
#define TOML_EXCEPTIONS 0
#define TOML_ENABLE_FORMATTERS 0
// Some malformed files trip its assertions before it says what is wrong with them.
#define TOML_ASSERT(expr) static_cast<void>(0)

#include <string>
#include <toml++/toml.h>
#include <vector>

#include "simulator/phone_file/content.h"

namespace atd::sim {

class TomlReader {
 public:
  // `name` is the file's, for the sentence in *error.
  TomlReader(std::string name, std::string* error) : name_(std::move(name)), error_(error) {}

  // Keeps "NAME:LINE: what"; false.
  bool fail(const toml::source_region& where, const std::string& what);
  bool fail(const toml::node& node, const std::string& what) { return fail(node.source(), what); }

  // The same for a name that is none of those.
  bool unknown(const toml::key& key, const char* what, const std::vector<std::string>& names);

  // Read a text of one line, and an array of these; `what` names it, or them: "a link", "the rows".
  bool take_text(const toml::node& node, const std::string& what, std::string* text);
  bool take_texts(const toml::node& node, const std::string& what, std::vector<std::string>* texts);

  // Appends a value to a content.
  bool take_content(const toml::node& node, Content* content);

  // False for what is no path of a file below the phone.
  bool take_path(const toml::node& node, const std::string& path);

 private:
  const std::string name_;
  std::string* const error_;
};

}  // namespace atd::sim
