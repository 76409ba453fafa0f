#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "client/command_line.h"
#include "client/commands.h"
#include "daemon/calls.h"
#include "desk/verb.h"
#include "desk/words.h"
#include "dispatch/opcode_table.h"

namespace atd::client {
namespace {

constexpr char kBegin[] = R"(# bash completion for atdctl, made by: atdctl completion bash

# Completes the word to one of the names on standard input, in lines of a name, a tab and a sentence. Bash lists several
# names with their sentences. A menu completion (% and *) types each of them, so it gets the names alone.
_atdctl_names() {
  local name sentence names=() sentences=() width=0 columns=${COLUMNS:-80} line i
  while IFS=$'\t' read -r name sentence; do
    [[ $name == "$cur"* ]] || continue
    names+=("$name")
    sentences+=("$sentence")
    ((${#name} > width)) && width=${#name}
  done
  COMPREPLY=("${names[@]}")
  [[ ${#names[@]} -lt 2 || $COMP_TYPE == 37 || $COMP_TYPE == 42 ]] && return
  for i in "${!names[@]}"; do
    [[ ${sentences[i]} ]] || continue
    printf -v line '%-*s  -- %s' "$width" "${names[i]}" "${sentences[i]}"
    ((${#line} < columns)) || line=${line:0:columns-2}…
    COMPREPLY[i]=$line
  done
}

_atdctl_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -P "$prefix" "$1" -- "$cur")
}

_atdctl() {
  local line=() words=() i cur before prefix='' options
  COMPREPLY=()
  # Bash takes --device=DIR for three words, or for one where "=" is not among its COMP_WORDBREAKS.
  for ((i = 0; i <= COMP_CWORD; i++)); do
    if [[ ${COMP_WORDS[i]} != = || ${COMP_WORDS[i - 1]} != --* ]]; then line+=("${COMP_WORDS[i]}")
    elif ((i == COMP_CWORD)); then line+=("")
    fi
  done
  cur=${line[-1]} before=${line[-2]}
  if [[ $cur == --*=* ]]; then before=${cur%%=*} prefix=$before= cur=${cur#*=}; fi
)";

constexpr char kEnd[] = R"(}

complete -F _atdctl atdctl
)";

std::string flags_of(const CLI::App& app) {
  std::string flags;
  for (const CLI::Option* option : options_of(app, false)) {
    for (const std::string& name : option->get_lnames()) flags += (flags.empty() ? "--" : " --") + name;
  }
  return flags;
}

enum class Value { any, folder, file, other };

Value value_of(const CLI::Option& option) {
  std::string kind = option.get_option_text();
  return kind == "DIR" ? Value::folder : kind == "PATH" || kind == "FILE" ? Value::file : Value::other;
}

// A pattern of a bash `case` for the options that take such a value, the commands' included.
std::string options_with(const CLI::App& app, Value value) {
  std::string pattern;
  for (const CLI::Option* option : options_of(app, false)) {
    if (option->get_items_expected_max() == 0 || (value != Value::any && value != value_of(*option))) continue;
    for (const std::string& name : option->get_lnames()) pattern += (pattern.empty() ? "--" : "|--") + name;
  }
  for (const CLI::App* command : commands_of(app)) {
    std::string more = options_with(*command, value);
    if (!more.empty()) pattern += (pattern.empty() ? "" : "|") + more;
  }
  return pattern;
}

// Names with their sentences.
using Names = std::vector<std::pair<std::string, std::string>>;

// A branch of the `case` over the words before the one to complete.
std::string branch(const std::string& words, const std::string& body) {
  return fmt::format("    '{}') {} ;;\n", words, body);
}

std::string branch(const std::string& words, const Names& names) {
  std::string lines;
  for (const auto& [name, sentence] : names) lines += fmt::format("{}\t{}\n", name, sentence);
  return fmt::format("    '{}') _atdctl_names <<'EOF'\n{}EOF\n      ;;\n", words, lines);
}

std::string& sentence_of(Names& names, std::string_view name) {
  for (auto& [known, sentence] : names) {
    if (known == name) return sentence;
  }
  return names.emplace_back(name, "").second;
}

// What may stand as a command's argument.
std::string argument_branch(const CLI::App& command, const Names& commands) {
  const std::vector<const CLI::Option*> arguments = options_of(command, true);
  const std::string kind = arguments.empty() ? "" : arguments[0]->get_name(true, false);
  if (kind == "FILE|-") return branch(command.get_name(), "_atdctl_files -f");
  if (kind == "SHELL") return branch(command.get_name(), Names{{"bash", ""}});
  if (kind == "COMMAND") return branch(command.get_name(), commands);
  if (kind != "NAME|NUMBER") return "";
  Names names;
  for (const Opcode& row : opcodes()) names.emplace_back(row.name, row.summary);
  return branch(command.get_name(), names);
}

// The verbs of the phone, their second words, and the files that they take.
std::string verb_branches() {
  Names firsts;
  std::map<std::string, Names> groups;
  std::string files;
  for (const Verb& verb : phone_verbs()) {
    std::string_view rest = verb.name;
    const std::string first(take_word(&rest)), second(take_word(&rest));
    std::string& sentence = sentence_of(firsts, first);
    if (second.empty()) {
      sentence = verb.summary;
    } else {
      groups[first].emplace_back(second, verb.summary);
      if (!sentence.ends_with('.')) sentence += (sentence.empty() ? "" : ", ") + second;
    }
    std::string before = fmt::format("phone {}", verb.name);
    const int file = std::max(file_argument(verb), output_argument(verb));
    for (int i = 0; i < file; ++i) before += " '*'";
    if (file >= 0) files += branch(before, "_atdctl_files -f");
  }
  std::string text = branch("phone", firsts);
  for (const auto& [first, seconds] : groups) text += branch("phone " + first, seconds);
  Names functions;
  for (const Call& call : calls()) functions.emplace_back(call.name, call.summary);
  return text + files + branch("phone call", functions);
}

// The options of a phone's verb, such as -f in "[-f] [--level LEVEL]".
std::string verb_flags() {
  std::string text;
  for (const Verb& verb : phone_verbs()) {
    std::string flags;
    std::string_view rest = verb.arguments;
    for (std::string_view word; !(word = take_word(&rest)).empty();) {
      word.remove_prefix(word.starts_with('['));
      if (word.starts_with('-')) flags += fmt::format(" {}", word.substr(0, word.find_first_of("]|.")));
    }
    if (!flags.empty()) text += fmt::format("    'phone {}'*) options+='{}' ;;\n", verb.name, flags);
  }
  return text;
}

}  // namespace

int run_completion(const CLI::App& app) {
  Names names;
  std::string arguments, flags;
  for (const CLI::App* command : commands_of(app)) {
    names.emplace_back(command->get_name(), command->get_description());
  }
  for (const CLI::App* command : commands_of(app)) {
    arguments += argument_branch(*command, names);
    const std::string more = flags_of(*command);
    if (!more.empty()) flags += fmt::format("    {0}|{0}' '*) options+=' {1}' ;;&\n", command->get_name(), more);
  }
  std::string out = kBegin;
  out += "  case $before in\n";
  out += fmt::format("    {}) _atdctl_files -d; return ;;\n", options_with(app, Value::folder));
  out += fmt::format("    {}) _atdctl_files -f; return ;;\n", options_with(app, Value::file));
  out += fmt::format("    {}) return ;;\n  esac\n", options_with(app, Value::other));
  out += "  for ((i = 1; i < ${#line[@]} - 1; i++)); do\n    case ${line[i]} in\n";
  out += fmt::format("      {}) ((i++)) ;;\n", options_with(app, Value::any));
  out += "      -*) ;;\n      *) words+=(\"${line[i]}\") ;;\n    esac\n  done\n";
  out += "  if [[ $cur != -* ]]; then\n    case ${words[*]} in\n";
  out += branch("", names) + arguments + verb_branches() + "    esac\n    return\n  fi\n";
  out += fmt::format("  options='{}'\n  case ${{words[*]}} in\n", flags_of(app));
  out += flags + "    'phone '*) options='--help --json --plain --timeout --device --socket' ;;&\n" + verb_flags() +
         "  esac\n";
  out += "  mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$cur\")\n";
  return complain(print(out + kEnd));
}

}  // namespace atd::client
