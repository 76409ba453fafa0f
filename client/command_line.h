// The arguments of the command line: the commands and options that there are, their order, and what is wrong with them.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace atd::client {

// The commands that the help lists.
std::vector<const CLI::App*> commands_of(const CLI::App& app);

// A command's arguments, or else its options with dashes. Those that every command has belong to the program alone.
std::vector<const CLI::Option*> options_of(const CLI::App& app, bool positional);

// Puts a command's options that stand before its name behind it, where the parser looks for them.
void move_options(const CLI::App& app, std::vector<std::string>* arguments);

// Takes the words of a phone's verb out of the arguments. From the verb's first word on every argument belongs to the
// verb, except the options that may stand anywhere; after "--" there are no exceptions.
std::vector<std::string> take_verb(std::vector<std::string>* arguments);

// Whether --json is among the arguments, whatever else may be wrong with them.
bool asks_for_json(const std::vector<std::string>& arguments);

// That there is no such command, and which are like it.
std::string no_command(const CLI::App& app, const std::string& name);

// What the parser says, in words that help.
std::string what_is_wrong(const CLI::App& app, const CLI::ParseError& error);

}  // namespace atd::client
