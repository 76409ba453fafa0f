// What a person can do to the simulated phone, in one table: the phone's control socket runs its rows, and the client
// makes its help, its manual and its completion from them.
#pragma once

#include <string>
#include <vector>

namespace atd {

namespace sim {
class SimulatedDevice;
class VerbCall;
}  // namespace sim

// What a verb shows that was not asked for by its name, and so has its identities masked.
enum class Masks { nothing, whole_list, all };  // whole_list: what it shows without arguments

struct Verb {
  const char* name;       // one word or two: "item set"
  const char* arguments;  // "INDEX|NAME VALUE"; what stands in brackets may be left out, "..." takes all the rest, and
                          // FILE is a file of the caller's, "-" its standard input; OUTPUT is one that takes what
                          // the verb prints, "-" the standard output
  const char* summary;    // what it does, one sentence
  void (*run)(sim::SimulatedDevice& device, sim::VerbCall& call);
  Masks masks = Masks::nothing;
};

// Every verb, those of one part of the phone together.
const std::vector<Verb>& phone_verbs();

// The verb that the words begin with; its arguments are then left in *words. Null when there is no such verb or the
// number of arguments is wrong, with a sentence in *error that says what would be right.
const Verb* find_verb(std::vector<std::string>* words, std::string* error);

// The position of FILE among a verb's arguments, -1 when it takes none.
int file_argument(const Verb& verb);

// The same of OUTPUT.
int output_argument(const Verb& verb);

}  // namespace atd
