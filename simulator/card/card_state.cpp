#include "simulator/card/card_state.h"

#include <stdint.h>
#include <stdio.h>

#include "desk/words.h"
#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr int kSizeMaxMib = 2 * 1024 * 1024;

constexpr struct {
  const char* word;
  bool CardState::*what;
  bool value;
} kWords[] = {
    {"partition", &CardState::whole_disk, false},
    {"disk", &CardState::whole_disk, true},
    {"blank", &CardState::blank, true},
    {"corrupt", &CardState::corrupt, true},
    {"protected", &CardState::write_protected, true},
    {"full", &CardState::full, true},
    {"dummy", &CardState::dummy, true},
};

std::string id_of(const std::string& text) {
  uint32_t hash = 2166136261;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619;
  char id[10];
  snprintf(id, sizeof id, "%04X-%04X", hash >> 16, hash & 0xffff);
  return id;
}

bool is_id(std::string_view text) {
  return text.size() == 9 && text[4] == '-' && text.find_first_not_of("0123456789ABCDEF-") == text.npos &&
         text.rfind('-') == 4 && text.find('-') == 4;
}

constexpr const char* kStandardFolders[] = {"LOST.DIR", ".android_secure", "Android/data"};

constexpr struct {
  const char* path;
  const char* content;
} kStandardFiles[] = {
    {"RZdefault/Version.txt",
     "# What is on the card when it is delivered: a path and a size in bytes.\n"
     "\n"
     "/DeskKitIV/autorun.inf 46\n"
     "/DeskKitIV/setup.ini 27\n"
     "/Music/welcome.txt 19\n"},
    {"DeskKitIV/autorun.inf", "[autorun]\r\nopen=setup.exe\r\nicon=setup.exe,-1\r\n"},
    {"DeskKitIV/setup.ini", "[setup]\r\nlanguage=english\r\n"},
    {"Music/welcome.txt", "A song would do it\n"},
};

}  // namespace

bool is_card_name(std::string_view name) {
  return !name.empty() && name.size() <= 32 &&
         name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_") == name.npos;
}

CardState new_card(const std::string& name) {
  CardState state;
  state.name = name;
  state.id = name == "card" ? "1A2B-3C4D" : id_of(name);
  return state;
}

std::string next_id(const std::string& id) { return id_of(id); }

bool apply_word(std::string_view word, CardState* state, CardContents* contents) {
  if (word == "plain") {
    state->blank = state->corrupt = state->write_protected = state->full = state->dummy = false;
    return true;
  }
  if (word == "default" || word == "foreign") {
    state->blank = false;
    *contents = word == "default" ? CardContents::standard : CardContents::foreign;
    return true;
  }
  if (word.starts_with("size=")) return read_number(word.substr(5), 1, kSizeMaxMib, &state->size_mib);
  if (word.starts_with("id=") && is_id(word.substr(3))) {
    state->id = word.substr(3);
    return true;
  }
  for (const auto& row : kWords) {
    if (word != row.word) continue;
    state->*row.what = row.value;
    if (word == "blank") *contents = CardContents::none;
    return true;
  }
  return false;
}

std::string to_words(const CardState& state) {
  std::string text = "id=" + state.id + " size=" + std::to_string(state.size_mib);
  for (const auto& row : kWords) {
    if (state.*row.what == row.value) text += std::string(" ") + row.word;
  }
  return text;
}

bool make_contents(const std::string& folder, CardContents contents) {
  if (contents != CardContents::standard && contents != CardContents::foreign) return true;
  bool made = true;
  for (const char* name : kStandardFolders) made = made && make_folders(folder + "/" + name);
  for (const auto& [path, content] : kStandardFiles) {
    const std::string file = folder + "/" + path;
    made = made && make_folders(file.substr(0, file.rfind('/'))) && write_file(file, content);
  }
  if (contents == CardContents::standard) return made;
  return made && write_file(folder + "/stranger.txt", "left by somebody\n") && make_folders(folder + "/empty");
}

}  // namespace atd::sim
