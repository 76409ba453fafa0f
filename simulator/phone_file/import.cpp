#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "desk/words.h"
#include "simulator/phone_file/phone_file.h"
#include "simulator/phone_file/places.h"
#include "simulator/phone_file/toml_reader.h"
#include "simulator/simulated_device.h"

namespace atd::sim {

namespace fs = std::filesystem;

namespace {

class Importer : public TomlReader {
 public:
  Importer(std::string name, std::string root, std::vector<Fault>* faults, std::string* error)
      : TomlReader(std::move(name), error), root_(std::move(root)), faults_(faults) {}

  bool run(const toml::table& phone);

 private:
  using Take = bool (Importer::*)(const toml::table&);
  struct Section {
    const char* name;
    Take take;
  };
  static const Section kSections[];

  bool failed(const toml::node& node, const std::string& path) {
    return fail(node, path + " cannot be made: " +
                          (errno == ENOTDIR ? "a file is in its way: leave one out, or name the file in \"removed\""
                                            : strerror(errno)));
  }
  bool fail_section(const toml::node& node, const std::string& name, const std::string& section) {
    return fail(node, name + " is a section: [" + section + "]");
  }
  bool is_no_table(const std::string& name, const toml::node& node);
  bool is_free(const toml::node& node, const std::string& path, const std::string& place);
  bool fail_own(const toml::source_region& where, const std::string& path);
  bool put(const toml::node& node, const std::string& path, bool program = false);
  bool add_lines(const toml::node& node, const char* what, const std::string& file);
  bool take_item(const toml::key& key, const toml::node& node);
  bool take_card_path(const toml::node& node, const std::string& path);
  bool take_card_words(const toml::node& is, CardState* state, CardContents* contents);
  bool take_card(const std::string& name, const toml::node& node);

  bool faults(const toml::table& phone);
  bool removed(const toml::table& phone);
  bool folders(const toml::table& phone);
  bool build(const toml::table& section);
  bool properties(const toml::table& section);
  bool items(const toml::table& section);
  bool modem(const toml::table& section);
  bool efs(const toml::table& section);
  bool input(const toml::table& section);
  bool cards(const toml::table& section);
  bool settings(const toml::table& section);
  bool programs(const toml::table& section);
  bool paths(const toml::table& section, const std::string& name);
  bool nodes(const toml::table& section) { return paths(section, "nodes"); }
  bool files(const toml::table& section) { return paths(section, "files"); }

  const std::string root_;
  std::vector<Fault>* const faults_;
  std::string in_, mount_;  // the card that is in, and its place of the desktop
};

// In the order in which they take effect.
constexpr Importer::Section Importer::kSections[] = {
    {"build", &Importer::build},       {"properties", &Importer::properties},
    {"items", &Importer::items},       {"modem", &Importer::modem},
    {"efs", &Importer::efs},           {"input", &Importer::input},
    {"cards", &Importer::cards},       {"settings", &Importer::settings},
    {"programs", &Importer::programs}, {"nodes", &Importer::nodes},
    {"files", &Importer::files},
};

// Fails for a name that its dots have made a table.
bool Importer::is_no_table(const std::string& name, const toml::node& node) {
  std::string whole = name;
  const toml::table* table = node.as_table();
  for (; table && !table->is_inline() && !table->empty(); table = table->begin()->second.as_table()) {
    whole += "." + std::string(table->begin()->first.str());
  }
  return whole == name || fail(node, "a name with dots stands in quotes: \"" + whole + "\"");
}

// Fails below the place of the card that is in.
bool Importer::is_free(const toml::node& node, const std::string& path, const std::string& place) {
  return in_.empty() || !place.starts_with(mount_ + "/") ||
         fail(node, path + " is on the card " + in_ + ", which is in: it belongs into [cards." + in_ + ".files]");
}

// Fails for a path that stands in no section.
bool Importer::fail_own(const toml::source_region& where, const std::string& path) {
  const std::string form = place_of(path).form;
  return fail(where,
              form.empty() ? path + " is the phone's own, and begins anew; leave it out" : path + " stands in " + form);
}

// Makes the file or the link of a value.
bool Importer::put(const toml::node& node, const std::string& path, bool program) {
  if (!take_path(node, path)) return false;
  const toml::table* table = node.as_table();
  const toml::node* link = table && table->size() == 1 ? table->get("link") : nullptr;
  const std::string place = resolve(root_, path, Last::itself);
  if (!is_free(node, path, link ? place : place + "/")) return false;
  std::error_code failure;
  struct stat there;
  if (lstat(place.c_str(), &there) == 0 && S_ISDIR(there.st_mode)) {
    return fail(node, path + " is a folder; name it in \"removed\" to have a file in its place");
  }
  if (place.empty() || !make_folders(place.substr(0, place.rfind('/')))) return failed(node, path);
  fs::remove(place, failure);
  if (link) {
    std::string target;
    const std::string own = place.substr(root_.size());
    if (own.starts_with("/sim/") && !own.starts_with("/sim/cards/")) {
      return fail(node, own + " is the phone's own, and no link: write what it holds");
    }
    if (!take_text(*link, "a link", &target)) return false;
    fs::create_symlink(target, place, failure);
    errno = failure.value();
    return !failure || failed(node, path);
  }
  Content content;
  if (!take_content(node, &content)) return false;
  if (!write_content(place, content) || (program && chmod(place.c_str(), 0755) != 0)) return failed(node, path);
  return true;
}

// Puts other lines in the place of those in a settings file that count.
bool Importer::add_lines(const toml::node& node, const char* what, const std::string& file) {
  std::vector<std::string> lines;
  if (!take_texts(node, what, &lines)) return false;
  std::string before, after;
  read_file(root_ + file, &before);
  for (size_t at = 0, end; at < before.size() && before[at] == '#'; at = end) {
    end = std::min(before.find('\n', at), before.size() - 1) + 1;
    after += before.substr(at, end - at);
  }
  for (size_t i = 0; i < lines.size(); ++i) {
    const std::string wrong = wrong_line(file, lines[i]);
    if (!wrong.empty()) return fail((*node.as_array())[i], wrong);
    after += lines[i] + "\n";
  }
  return write_file(root_ + file, after) || failed(node, file);
}

bool Importer::faults(const toml::table& phone) {
  const toml::node* list = phone.get("faults");
  if (!list) return true;
  if (!list->is_array()) return fail(*list, "faults are arrays of words: [[\"set_ftm_item\", \"13\", \"nth=3\"]]");
  for (const toml::node& one : *list->as_array()) {
    std::vector<std::string> words;
    Fault fault;
    if (!take_texts(one, "the words of a fault", &words)) return false;
    if (const std::string wrong = parse_fault(words, &fault); !wrong.empty()) return fail(one, wrong);
    const auto hits_the_same = [&](const Fault& old) { return name_of(old) == name_of(fault); };
    if (std::any_of(faults_->begin(), faults_->end(), hits_the_same)) {
      return fail(one, name_of(fault) + " stands here twice");
    }
    faults_->push_back(fault);
  }
  return true;
}

bool Importer::removed(const toml::table& phone) {
  const toml::node* list = phone.get("removed");
  std::vector<std::string> paths;
  if (list && !take_texts(*list, "the paths of removed", &paths)) return false;
  for (size_t i = 0; i < paths.size(); ++i) {
    const toml::node& node = (*list->as_array())[i];
    if (!take_path(node, paths[i])) return false;
    std::error_code failure;
    const std::string place = resolve(root_, paths[i], Last::itself);
    if (holds_own(paths[i])) {
      return fail(node, paths[i] + " holds what is the phone's own; name what is to be removed there");
    }
    if (!*place_of(paths[i]).section) return fail_own(node.source(), paths[i]);
    for (size_t before = 0; before < i; ++before) {
      if (paths[i] == paths[before]) return fail(node, paths[i] + " stands here twice");
      if (!paths[i].starts_with(paths[before] + "/")) continue;
      return fail(node, paths[i] + " goes with " + paths[before] + "; leave it out");
    }
    if (fs::remove_all(place, failure) == 0) {
      return fail(node, paths[i] + " is not in a new phone: nothing is to be removed");
    }
    errno = failure.value();
    if (failure) return failed(node, paths[i]);
  }
  return true;
}

bool Importer::folders(const toml::table& phone) {
  const toml::node* list = phone.get("folders");
  std::vector<std::string> paths;
  if (list && !take_texts(*list, "the paths of folders", &paths)) return false;
  for (size_t i = 0; i < paths.size(); ++i) {
    const toml::node& node = (*list->as_array())[i];
    if (!take_path(node, paths[i])) return false;
    const Place& place = place_of(paths[i]);
    if (!*place.section) return fail_own(node.source(), paths[i]);
    if (!holds_folders(place)) return fail(node, paths[i] + " is no folder; it belongs into [" + place.section + "]");
    const std::string folder = resolve(root_, paths[i]);
    if (!is_free(node, paths[i], folder)) return false;
    if (!make_folders(folder)) return failed(node, paths[i]);
  }
  return true;
}

bool Importer::build(const toml::table& section) {
  const std::string file = root_ + "/system/build.prop";
  std::string text;
  read_file(file, &text);
  for (const auto& [key, node] : section) {
    const std::string name(key.str());
    std::string value;
    if (!is_no_table(name, node) || !take_text(node, name, &value)) return false;
    if (const std::string wrong = wrong_property(name, value); !wrong.empty()) return fail(node, wrong);
    const std::string line = "\n" + name + "=";
    if (const size_t at = ("\n" + text).find(line); at != text.npos) {
      text.erase(at, std::min(text.find('\n', at), text.size() - 1) + 1 - at);
    } else if (value.empty()) {
      return fail(node, name + " is not in a new phone: nothing is to be taken out");
    }
    if (!value.empty()) text += name + "=" + value + "\n";
  }
  return write_file(file, text) || fail(section, std::string("system/build.prop: ") + strerror(errno));
}

bool Importer::properties(const toml::table& section) {
  const std::atomic<bool> syncs{false};
  Properties properties(root_, syncs);
  for (const auto& [key, node] : section) {
    const std::string name(key.str());
    std::string value;
    if (!is_no_table(name, node)) return false;
    if (!node.is_string()) return fail(node, name + " is a text in quotes");
    value = *node.value<std::string>();
    if (!name.starts_with("persist.")) {
      return fail(key.source(), "a reboot forgets " + name + "; what a boot sets stands in [build]");
    }
    if (const std::string wrong = wrong_property(name, value); !wrong.empty()) return fail(node, wrong);
    if (!properties.set(name, value)) return failed(node, name);
  }
  return true;
}

bool Importer::take_item(const toml::key& key, const toml::node& node) {
  const std::string name(key.str());
  std::string wrong;
  FactoryItem item = {0, 0, Encoding::text, ""};
  if (const FactoryItem* named = item_named(name, &wrong)) item = *named;
  else if (!parse_stored_name(name, &item.index, &item.length)) {
    return fail(key.source(), wrong + "; one without a name is INDEX-LENGTH");
  }
  Content content;
  const bool is_digit = item.encoding == Encoding::digit, is_number = is_digit || item.encoding == Encoding::flag;
  if (node.is_integer() && !is_number) return fail(node, name + " is a text or bytes: write it in quotes");
  if (is_number && node.is_value() && !node.is_string()) {
    const int64_t number = node.value_exact<int64_t>().value_or(-1);
    if (number < 0 || number > (is_digit ? 9 : 255)) {
      return fail(node, name + " is a number from 0 to " + (is_digit ? "9" : "255"));
    }
    content = content_of(std::string(1, static_cast<char>(is_digit ? '0' + number : number)));
  } else if (!take_content(node, &content)) {
    return false;
  }
  if (content.size > item.length) {
    return fail(node,
                name + " has " + std::to_string(item.length) + " bytes, the value " + std::to_string(content.size));
  }
  content.size = item.length;
  const std::string path = "/sim/items/" + std::to_string(item.index) + "-" + std::to_string(item.length);
  if (access((root_ + path).c_str(), F_OK) == 0) return fail(key.source(), "the item " + name + " stands here twice");
  return write_content(root_ + path, content) || failed(node, path);
}

bool Importer::items(const toml::table& section) {
  for (const auto& [key, node] : section) {
    if (!take_item(key, node)) return false;
  }
  return true;
}

bool Importer::modem(const toml::table& section) {
  for (const auto& [key, node] : section) {
    if (key == "rows") {
      if (!add_lines(node, "the rows", "/sim/modem.conf")) return false;
      continue;
    }
    if (key != "records") return unknown(key, "in [modem]", {"rows", "records"});
    if (!node.is_table()) return fail_section(node, "records", "modem.records");
    for (const auto& [name, record] : *node.as_table()) {
      if (!ModemItems::keeps(std::string(name.str()))) {
        return fail(name.source(), "the modem has no record \"" + std::string(name.str()) +
                                       "\"; names are those of sim/modem/, such as imei, or nv_550");
      }
      if (!put(record, "/sim/modem/" + std::string(name.str()))) return false;
    }
  }
  return true;
}

bool Importer::efs(const toml::table& section) {
  for (const auto& [key, node] : section) {
    if (!take_path(node, std::string(key.str())) || !put(node, "/sim/efs" + std::string(key.str()))) return false;
  }
  return true;
}

bool Importer::input(const toml::table& section) {
  for (const auto& [key, node] : section) {
    if (key != "lines") return unknown(key, "in [input]", {"lines"});
    if (!add_lines(node, "the lines", "/sim/input.conf")) return false;
  }
  return true;
}

bool Importer::take_card_path(const toml::node& node, const std::string& path) {
  return is_path("/" + path) ||
         fail(node, "\"" + path + "\" is no path on a card: write it without \"/\" before it, and without \"..\"");
}

bool Importer::take_card_words(const toml::node& is, CardState* state, CardContents* contents) {
  std::string text;
  if (!take_text(is, "\"is\"", &text)) return false;
  std::string_view rest = text;
  for (std::string_view word; !(word = take_word(&rest)).empty();) {
    if (apply_word(word, state, contents)) continue;
    return fail(is, "\"" + std::string(word) + "\" is no word of a card: write " + kCardWords);
  }
  rest = text;
  for (std::string_view word; !(word = take_word(&rest)).empty();) {
    CardState again = *state;
    CardContents made = *contents;
    apply_word(word, &again, &made);
    if (to_words(again) == to_words(*state) && made == *contents) continue;
    return fail(is, "\"" + std::string(word) + "\" is undone by a word after it: leave one of them out");
  }
  return true;
}

bool Importer::take_card(const std::string& name, const toml::node& node) {
  if (!is_card_name(name) || !node.is_table()) {
    return fail(node, "a card is a section [cards.NAME]: letters, digits, - and _, at most 32");
  }
  const toml::table& card = *node.as_table();
  const std::string place = "/sim/cards/" + name, files = place + "/files/";
  CardState state = new_card(name);
  CardContents contents = CardContents::as_they_are;
  if (const toml::node* is = card.get("is"); is && !take_card_words(*is, &state, &contents)) return false;
  if (!make_folders(root_ + files) || !make_contents(root_ + place + "/files", contents) ||
      !write_file(root_ + place + "/card", to_words(state) + "\n")) {
    return failed(node, place);
  }
  for (const auto& [key, value] : card) {
    if (key == "is") continue;
    if (key == "in") {
      if (!value.is_boolean()) return fail(value, "\"in\" is true or false");
      if (!*value.value<bool>()) continue;
      if (!in_.empty()) return fail(value, "only one card can be in");
      in_ = name;
      mount_ = resolve(root_, "/storage/" + state.id);
      if (!write_file(root_ + "/sim/card", name + "\n")) return failed(value, "/sim/card");
    } else if (key == "folders") {
      std::vector<std::string> folders;
      if (!take_texts(value, "the paths of folders", &folders)) return false;
      for (const std::string& folder : folders) {
        if (!take_card_path(value, folder)) return false;
        // A link of the card leads to where it leads on the phone.
        if (!make_folders(resolve(root_, files + folder))) return failed(value, files + folder);
      }
    } else if (key == "files") {
      if (!value.is_table()) return fail_section(value, "files", "cards." + name + ".files");
      for (const auto& [file, content] : *value.as_table()) {
        const std::string path(file.str());
        if (!take_card_path(content, path) || !put(content, files + path)) return false;
      }
    } else {
      return unknown(key, "in a card", {"in", "is", "folders", "files"});
    }
  }
  return true;
}

bool Importer::cards(const toml::table& section) {
  for (const auto& [key, node] : section) {
    if (!take_card(std::string(key.str()), node)) return false;
  }
  return true;
}

bool Importer::settings(const toml::table& section) {
  for (const auto& [key, node] : section) {
    if (key != "display" && key != "fingerprint") return unknown(key, "in [settings]", {"display", "fingerprint"});
    const std::string path = "/sim/" + std::string(key.str());
    if (!node.is_string()) return fail(node, path + " is lines of text in quotes");
    const std::string text = *node.value<std::string>();
    for (size_t at = 0, end; at < text.size(); at = end + 1) {
      end = std::min(text.find('\n', at), text.size());
      const std::string wrong = wrong_line(path, text.substr(at, end - at));
      if (wrong.empty()) continue;
      toml::source_region where = node.source();
      const auto below = std::count(text.begin() + static_cast<ptrdiff_t>(at), text.end(), '\n');
      if (where.end.line > where.begin.line + below) where.begin.line = where.end.line - static_cast<uint32_t>(below);
      return fail(where, wrong);
    }
    if (!write_file(root_ + path, text)) return failed(node, path);
  }
  return true;
}

bool Importer::programs(const toml::table& section) {
  for (const auto& [key, node] : section) {
    const std::string name(key.str());
    if (!is_path("/" + name)) return fail(node, "\"" + name + "\" is no name of a program");
    if (!put(node, "/system/bin/" + name, true)) return false;
  }
  return true;
}

bool Importer::paths(const toml::table& section, const std::string& name) {
  for (const auto& [key, node] : section) {
    const std::string path(key.str());
    if (!take_path(node, path)) return false;
    const std::string belongs = place_of(path).section;
    if (belongs.empty()) return fail_own(key.source(), path);
    if (belongs != name) return fail(key.source(), path + " belongs into [" + belongs + "]");
    if (!put(node, path)) return false;
  }
  return true;
}

bool Importer::run(const toml::table& phone) {
  std::vector<std::string> names = {"faults", "removed", "folders"};
  const size_t lists = names.size();
  for (const Section& section : kSections) names.push_back(section.name);
  for (const auto& [key, node] : phone) {
    const auto found = std::find(names.begin(), names.end(), key.str());
    if (found == names.end()) return unknown(key, "the section", names);
    const bool is_section = static_cast<size_t>(found - names.begin()) >= lists;
    if (is_section && !node.is_table()) return fail(node, "this is a section: [" + *found + "]");
  }
  if (!faults(phone) || !removed(phone)) return false;
  for (const Section& section : kSections) {
    const toml::node* node = phone.get(section.name);
    if (node && !(this->*section.take)(*node->as_table())) return false;
  }
  return folders(phone);
}

// What helps with a sentence of the parser.
std::string advice(std::string_view sentence) {
  // Every other byte of UTF-16 is a NUL.
  for (const char* other : {"utf-8", "\\u0000"}) {
    if (sentence.find(other) != sentence.npos) return "; save the file as UTF-8";
  }
  for (const char* value : {"parsing value", "boolean", "integer", "floating-point", "date", "time"}) {
    if (sentence.find(value) != sentence.npos) return "; a text stands in quotes";
  }
  return "";
}

// Makes the phone in a folder that is not there.
bool make(const toml::table& phone, const std::string& folder, Importer& importer, std::string* error) {
  if (!SimulatedDevice::make(folder, error)) return false;
  // From now on no boot takes it for a new one; the first one counts 1.
  if (write_file(folder + "/sim/boots", "0\n")) return importer.run(phone);
  return *error = folder + "/sim/boots: " + strerror(errno), false;
}

}  // namespace

bool import_phone(const std::string& text, const std::string& name, const std::string& folder,
                  std::vector<Fault>* faults, std::string* error) {
  std::error_code failure;
  // A link to an empty folder is followed.
  std::string place = fs::canonical(folder, failure);
  if (failure) place = folder;
  while (place.size() > 1 && place.ends_with('/')) place.pop_back();
  const toml::parse_result parsed = toml::parse(text, name);
  if (!parsed) {
    const std::string sentence(parsed.error().description());
    return TomlReader(name, error).fail(parsed.error().source(), sentence + advice(sentence));
  }
  if (fs::exists(place, failure) && !fs::is_empty(place, failure)) {
    return *error = place + ": --from makes a new phone, and this folder is not empty; name another one", false;
  }
  std::string draft = place + ".new~XXXXXX";
  if (!make_folders(fs::absolute(place, failure).parent_path()) || !mkdtemp(draft.data())) {
    return *error = draft + ": " + strerror(errno), false;
  }
  // A folder in it has the mode that any new folder has.
  const std::string fresh = draft + "/phone";
  Importer importer(name, fresh, faults, error);
  bool made = make(parsed.table(), fresh, importer, error);
  if (made) {
    const fs::file_status there = fs::status(place, failure);
    if (fs::is_directory(there)) fs::permissions(fresh, there.permissions() | fs::perms::owner_all, failure);
    fs::rename(fresh, place, failure);
    if (failure) made = false, *error = place + ": " + failure.message();
  }
  fs::remove_all(draft, failure);
  return made;
}

}  // namespace atd::sim
