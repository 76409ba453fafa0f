#include "simulator/command_line.h"

#include <dirent.h>
#include <fnmatch.h>
#include <string.h>

#include <algorithm>

#include "simulator/files.h"

namespace atd::sim {

namespace {

// What a shell would not take literally, outside of quotes.
constexpr struct {
  const char* characters;
  const char* name;
  bool first;        // only where it begins a word
  bool also_quoted;  // in double quotes, too
} kRefused[] = {
    {"$", "a variable or a substitution ($)", false, true},
    {"`", "a substitution (`)", false, true},
    {"\\", "an escape (\\)", false, true},
    {"|", "a pipe (|)", false, false},
    {";&\n", "a second command", false, false},
    {"<", "an input (<)", false, false},
    {"()", "a subshell or a function", false, false},
    {"{}", "braces", false, false},
    {"~", "a home folder (~)", true, false},
    {"#", "a comment (#)", true, false},
};

const char* refusal(char c, bool first, bool quoted) {
  for (const auto& row : kRefused) {
    if (strchr(row.characters, c) && (quoted ? row.also_quoted : first || !row.first)) return row.name;
  }
  return nullptr;
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

void add(char c, bool quoted, Word* word) {
  word->text += c;
  const bool special = strchr("*?[", c);
  if (quoted && c != '/') word->pattern += '\\';
  word->pattern += c;
  word->is_pattern |= special && !quoted;
}

// Reads a word from *at on; the reason why it is refused, or null.
const char* read_word(const std::string& command, size_t* at, Word* word) {
  char quote = '\0';
  for (const size_t start = *at; *at < command.size(); ++*at) {
    const char c = command[*at];
    if (c == quote) {
      quote = '\0';
    } else if (!quote && (c == '\'' || c == '"')) {
      quote = c;
    } else if (!quote && (is_blank(c) || c == '>')) {
      break;
    } else if (const char* reason = quote == '\'' ? nullptr : refusal(c, *at == start, quote)) {
      return reason;
    } else {
      add(c, quote, word);
    }
  }
  return quote ? "a quote without its end" : nullptr;
}

// Descends by the pattern's part that begins at `at`; `folder` is the name so far.
void descend(const std::string& root, const std::string& pattern, size_t at, std::string folder,
             std::vector<std::string>* names) {
  for (; at < pattern.size() && pattern[at] == '/'; ++at) folder += '/';
  DIR* stream = opendir(resolve(root, "/" + folder).c_str());
  if (!stream) return;
  if (at == pattern.size()) names->push_back(folder);  // it ends in "/"
  const size_t end = std::min(pattern.find('/', at), pattern.size());
  const std::string part = pattern.substr(at, end - at);
  while (const struct dirent* entry = readdir(stream)) {
    // As on a phone, ".*" is neither "." nor "..".
    const bool is_dots = strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0;
    if (is_dots ? part != entry->d_name : fnmatch(part.c_str(), entry->d_name, FNM_PERIOD) != 0) continue;
    if (end == pattern.size()) names->push_back(folder + entry->d_name);
    else descend(root, pattern, end, folder + entry->d_name, names);
  }
  closedir(stream);
}

// True when the last word consists of digits.
bool ends_in_number(const std::string& text) {
  const size_t digits = text.find_last_not_of("0123456789") + 1;
  return digits < text.size() && (digits == 0 || is_blank(text[digits - 1]));
}

}  // namespace

bool parse(const std::string& command, CommandLine* result, std::string* error) {
  const char* reason = nullptr;
  bool after_output = false;
  for (size_t at = 0; !reason && at < command.size();) {
    if (is_blank(command[at])) {
      ++at;
    } else if (command[at] == '>') {
      if (after_output || !result->output.empty()) reason = "a second output, or >>";
      else if (ends_in_number(command.substr(0, at))) reason = "the output of a descriptor by its number";
      after_output = true;
      ++at;
    } else {
      Word word;
      reason = read_word(command, &at, &word);
      if (after_output && word.is_pattern) reason = "a pattern for the output";
      else if (!after_output && result->words.empty() && word.text.find('=') != word.text.npos) reason = "a variable";
      (after_output ? result->output : result->words).push_back(std::move(word));
      after_output = false;
    }
  }
  if (!reason && after_output) reason = "an output without a file";
  if (reason) *error = reason;
  return !reason;
}

void expand(const std::string& root, const Word& word, std::vector<std::string>* names) {
  std::vector<std::string> found;
  if (word.is_pattern) descend(root, word.pattern, 0, "", &found);
  if (found.empty()) found.push_back(word.text);
  std::sort(found.begin(), found.end());
  names->insert(names->end(), found.begin(), found.end());
}

}  // namespace atd::sim
