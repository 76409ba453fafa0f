// The commands and options of the command line, for those who describe it.
#pragma once

#include <CLI/CLI.hpp>
#include <vector>

namespace atd::client {

// The commands that the help lists.
inline std::vector<const CLI::App*> commands_of(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
}

// A command's arguments, or else its options with dashes. Those that every command has belong to the program alone.
inline std::vector<const CLI::Option*> options_of(const CLI::App& app, bool positional) {
  return app.get_options([&app, positional](const CLI::Option* option) {
    return option->get_positional() == positional && (option != app.get_help_ptr() || app.get_parent() == nullptr);
  });
}

}  // namespace atd::client
