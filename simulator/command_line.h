// A shell command taken apart: words with quotes and patterns, and one ">". Nothing else of a shell's language is
// known, so no word can hide a path from the phone.
#pragma once

#include <string>
#include <vector>

namespace atd::sim {

struct Word {
  std::string text;     // without its quotes
  std::string pattern;  // for fnmatch, part by part; quoted characters are escaped
  bool is_pattern = false;
};

struct CommandLine {
  std::vector<Word> words;
  std::vector<Word> output;  // the file after ">", if any
};

// Takes a command apart; false with the reason in *error for what it does not know, such as variables and pipes.
bool parse(const std::string& command, CommandLine* result, std::string* error);

// Adds the names in the phone's folder `root` that a pattern matches, as the phone sees them and sorted, or the word's
// text where there are none. A relative pattern starts at the root.
void expand(const std::string& root, const Word& word, std::vector<std::string>* names);

}  // namespace atd::sim
