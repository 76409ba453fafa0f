#include "client/command_line.h"

#include <fmt/format.h>

#include <algorithm>

#include "desk/nearest.h"

namespace atd::client {

std::vector<const CLI::App*> commands_of(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
}

std::vector<const CLI::Option*> options_of(const CLI::App& app, bool positional) {
  return app.get_options([&app, positional](const CLI::Option* option) {
    return option->get_positional() == positional && (option != app.get_help_ptr() || app.get_parent() == nullptr);
  });
}

std::string no_command(const CLI::App& app, const std::string& name) {
  std::vector<std::string> names;
  for (const CLI::App* command : commands_of(app)) names.push_back(command->get_name());
  return fmt::format("\"{}\" is not a command; nearest: {}; see atdctl --help", name, listed(nearest(name, names, 2)));
}

void move_options(const CLI::App& app, std::vector<std::string>* arguments) {
  std::vector<std::string> moved, ordered;
  bool value = false;  // the next argument is an option's value
  for (auto at = arguments->begin(); at != arguments->end(); ++at) {
    const CLI::Option* own = app.get_option_no_throw(at->substr(0, at->find('=')));
    const bool is_option = !value && at->starts_with('-');
    if (value || (is_option && own != nullptr)) {
      value = !value && own->get_items_expected_max() > 0 && at->find('=') == at->npos;
      ordered.push_back(*at);
    } else if (!app.get_subcommands([&](const CLI::App* command) { return command->check_name(*at); }).empty()) {
      ordered.push_back(*at);
      ordered.insert(ordered.end(), moved.begin(), moved.end());
      ordered.insert(ordered.end(), at + 1, arguments->end());
      *arguments = ordered;
      return;
    } else if (is_option || !moved.empty()) {
      moved.push_back(*at);
      // The next argument is the option's value, even when a command has the same name.
      auto takes_value = [&](const CLI::App* command) {
        const CLI::Option* option = command->get_option_no_throw(*at);
        return option != nullptr && option->get_items_expected_max() > 0;
      };
      const std::vector<const CLI::App*> commands = commands_of(app);
      if (is_option && at + 1 != arguments->end() && std::any_of(commands.begin(), commands.end(), takes_value)) {
        moved.push_back(*++at);
      }
    } else {
      return;
    }
  }
}

std::vector<std::string> take_verb(std::vector<std::string>* arguments) {
  auto is = [](const std::string& name, std::initializer_list<const char*> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
  };
  std::vector<std::string> own, words;
  bool phone = false, ended = false;  // "phone" has come, "--" has come
  bool value = false;                 // the next argument is an option's value
  for (const std::string& argument : *arguments) {
    const std::string name = argument.substr(0, argument.find('='));
    const bool option =
        argument.starts_with('-') &&
        (words.empty() || is(name, {"--json", "--help", "--plain", "--timeout", "--device", "--socket"}));
    if (phone && !ended && !value && argument == "--") {
      ended = true;
      if (!words.empty() && words[0] == "call") words.push_back(argument);  // read_call takes it
    } else if (!ended && (value || option)) {
      value = !value && is(argument, {"--device", "--socket", "--timeout"});
      own.push_back(argument);
    } else if (phone) {
      words.push_back(argument);
    } else if (argument == "phone") {
      phone = true;
      own.push_back(argument);
    } else {
      return {};
    }
  }
  *arguments = own;
  return words;
}

std::string what_is_wrong(const CLI::App& app, const CLI::ParseError& error) {
  std::string name = app.get_name();
  for (const CLI::App* command : app.get_subcommands()) name += " " + command->get_name();
  std::vector<std::string> extras = app.remaining(true);
  if (app.get_subcommands().empty()) {
    // Without a command, its options are no mistake of their own.
    std::erase_if(extras, [&](const std::string& extra) {
      auto has = [&](const CLI::App* command) { return command->get_option_no_throw(extra) != nullptr; };
      const std::vector<const CLI::App*> commands = commands_of(app);
      return extra.starts_with('-') && std::any_of(commands.begin(), commands.end(), has);
    });
  }
  std::string extra = extras.empty() ? "" : extras.front();
  if (extra.starts_with('-')) {
    extra = extra.substr(0, extra.find('='));
    std::vector<const CLI::App*> places = {&app};
    for (const CLI::App* command : app.get_subcommands()) places.push_back(command);
    std::vector<std::string> options;
    for (const CLI::App* place : places) {
      for (const CLI::Option* option : options_of(*place, false)) {
        for (const std::string& known : option->get_lnames()) options.push_back("--" + known);
      }
    }
    return fmt::format("there is no option {}; nearest: {}; see {} --help", extra, listed(nearest(extra, options, 2)),
                       name);
  }
  if (app.get_subcommands().empty() && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
    if (!extra.empty()) return no_command(app, extra);
    std::vector<std::string> commands;
    for (const CLI::App* command : commands_of(app)) commands.push_back(command->get_name());
    return "write one of: " + listed(commands);
  }
  if (!extra.empty()) {
    return fmt::format("\"{}\" is one argument too many; a text with spaces needs quotes", extra);
  }
  return fmt::format("{}; see {} --help", error.what(), name);
}

bool asks_for_json(const std::vector<std::string>& arguments) {
  const auto end = std::find(arguments.begin(), arguments.end(), "--");
  return std::find(arguments.begin(), end, "--json") != end;
}

}  // namespace atd::client
