// What an SD card is, in the words that a person has for it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace atd::sim {

enum class CardContents { as_they_are, none, standard, foreign };

struct CardState {
  std::string name;  // "" for a slot that is empty
  std::string id;    // of its file system: "1A2B-3C4D"
  int size_mib = 1024;
  bool whole_disk = false;  // the file system begins where the card begins, without a partition
  bool blank = false;       // no file system
  bool corrupt = false;     // a file system that cannot be mounted
  bool write_protected = false;
  bool full = false;
  bool dummy = false;  // the slot detects a card, and there is no device
  bool mounted = false;

  // The name that the volume daemon gives to its volume: "public:179,1", or "public:179,0" for a whole disk.
  std::string volume() const { return whole_disk ? "public:179,0" : "public:179,1"; }
};

// Whether a card can have this name: letters, digits, "-" and "_", at most 32.
bool is_card_name(std::string_view name);

// A card that is new, by its name: the card "card" has the id 1A2B-3C4D, and every other name an id of its own.
CardState new_card(const std::string& name);

// The id that follows when a file system is made anew.
std::string next_id(const std::string& id);

// The words of a card, for a sentence.
inline constexpr char kCardWords[] =
    "partition, disk, blank, corrupt, default, foreign, protected, full, dummy, plain, size=MIB (1 to 2097152) or "
    "id=XXXX-XXXX (0 to 9, A to F)";

// Changes a card by one of these; "plain" is none of blank, corrupt, protected, full and dummy any more. False for any
// other word. *contents is what becomes of its files.
bool apply_word(std::string_view word, CardState* state, CardContents* contents);

// The words that make a card of its name what it is.
std::string to_words(const CardState& state);

// Makes the contents in an empty folder; false with errno.
bool make_contents(const std::string& folder, CardContents contents);

}  // namespace atd::sim
