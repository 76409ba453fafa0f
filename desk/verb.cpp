#include "desk/verb.h"

#include <stdint.h>

#include <algorithm>
#include <sstream>

#include "desk/nearest.h"

namespace atd {

namespace {

std::vector<std::string> words_of(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

struct Count {
  size_t least = 0, most = 0;
};

// How many arguments a verb takes.
Count count_of(const Verb& verb) {
  Count count;
  bool optional = false;
  for (const std::string& word : words_of(verb.arguments)) {
    optional |= word.starts_with('[');
    count.least += !optional;
    if (word.find("...") != std::string::npos) {
      count.most = SIZE_MAX;
      break;
    }
    ++count.most;
    optional &= !word.ends_with(']');
  }
  return count;
}

bool begins_with(const std::vector<std::string>& words, const std::vector<std::string>& beginning) {
  if (words.size() < beginning.size()) return false;
  return std::equal(beginning.begin(), beginning.end(), words.begin());
}

// What would be right where no verb begins as the words do.
std::string unknown(const std::vector<std::string>& words) {
  const std::string first = words.empty() ? "" : words[0];
  std::vector<std::string> names, seconds;
  for (const Verb& verb : phone_verbs()) {
    const std::vector<std::string> name = words_of(verb.name);
    if (names.empty() || names.back() != name[0]) names.push_back(name[0]);
    if (name.size() > 1 && name[0] == first) seconds.push_back(name[1]);
  }
  if (!seconds.empty() && words.size() > 1) {
    return "there is no verb \"" + first + " " + words[1] + "\"; nearest: " + first + " " +
           nearest(words[1], seconds, 1)[0] + "; after \"" + first + "\" write one of: " + listed(seconds);
  }
  if (!seconds.empty()) return "after \"" + first + "\" write one of: " + listed(seconds);
  return "there is no verb \"" + first + "\"; nearest: " + listed(nearest(first, names, 3));
}

int place_of(const char* word, const Verb& verb) {
  const std::vector<std::string> arguments = words_of(verb.arguments);
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i].find(word) != std::string::npos) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace

const Verb* find_verb(std::vector<std::string>* words, std::string* error) {
  const Verb* found = nullptr;
  size_t name_words = 0;
  for (const Verb& verb : phone_verbs()) {
    const std::vector<std::string> name = words_of(verb.name);
    if (name.size() <= name_words || !begins_with(*words, name)) continue;
    found = &verb;
    name_words = name.size();
  }
  if (!found) {
    *error = unknown(*words);
    return nullptr;
  }
  const Count count = count_of(*found);
  const bool has_rest = words->size() > name_words;
  const std::string stem = found->name + std::string(" ");
  const bool is_stem = std::any_of(phone_verbs().begin(), phone_verbs().end(),
                                   [&](const Verb& verb) { return std::string(verb.name).starts_with(stem); });
  if (count.most == 0 && has_rest && is_stem) {
    *error = unknown(*words);
    return nullptr;
  }
  words->erase(words->begin(), words->begin() + static_cast<std::ptrdiff_t>(name_words));
  // A flag that is named last may stand anywhere.
  std::stable_partition(words->begin(), words->end(), [&](const std::string& word) {
    return !word.starts_with("--") || !std::string(found->arguments).ends_with("[" + word + "]");
  });
  if (words->size() >= count.least && words->size() <= count.most) return found;
  *error = std::string("write ") + found->name + (*found->arguments ? " " : " without arguments") + found->arguments;
  return nullptr;
}

int file_argument(const Verb& verb) { return place_of("FILE", verb); }

int output_argument(const Verb& verb) { return place_of("OUTPUT", verb); }

}  // namespace atd
