#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "desk/answer_rows.h"
#include "desk/words.h"
#include "factory/item_registry.h"
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
    return fail(node, path + " cannot be made: " + strerror(errno));
  }
  bool fail_section(const toml::node& node, const std::string& name, const std::string& section) {
    return fail(node, name + " is a section: [" + section + "]");
  }
  bool put(const toml::node& node, const std::string& path, bool program = false);
  bool add_lines(const toml::node& node, const char* file, bool rows);
  bool take_item(const toml::key& key, const toml::node& node);
  bool take_card_path(const toml::node& node, const std::string& path);
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
  bool has_card_ = false;
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

// Makes the file or the link of a value.
bool Importer::put(const toml::node& node, const std::string& path, bool program) {
  if (!take_path(node, path)) return false;
  const std::string place = resolve(root_, path, Last::itself);
  std::error_code failure;
  struct stat there;
  if (lstat(place.c_str(), &there) == 0 && S_ISDIR(there.st_mode)) {
    return fail(node, path + " is a folder; name it in \"removed\" to have a file in its place");
  }
  if (place.empty() || !make_folders(place.substr(0, place.rfind('/')))) return failed(node, path);
  fs::remove(place, failure);
  const toml::table* table = node.as_table();
  if (const toml::node* link = table && table->size() == 1 ? table->get("link") : nullptr) {
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
bool Importer::add_lines(const toml::node& node, const char* file, bool rows) {
  std::vector<std::string> lines;
  if (!take_texts(node, rows ? "the rows" : "the lines", &lines)) return false;
  std::string before, after;
  read_file(root_ + file, &before);
  for (size_t at = 0, end; at < before.size() && before[at] == '#'; at = end) {
    end = std::min(before.find('\n', at), before.size() - 1) + 1;
    after += before.substr(at, end - at);
  }
  for (size_t i = 0; i < lines.size(); ++i) {
    AnswerRow row;
    const std::string wrong = rows ? parse_answer_row(lines[i], RowsOf::modem, &row) : Input::wrong(lines[i]);
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
    if (!take_texts(one, "the words of a fault", &words)) return false;
    if (const std::string wrong = parse_fault(words, &faults_->emplace_back()); !wrong.empty()) return fail(one, wrong);
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
    if (!*place_of(paths[i]).section) {
      return fail(node, paths[i] + " is the phone's own, and begins anew with each; leave it out");
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
    if (!*place.section) return fail(node, paths[i] + " is the phone's own; leave it out");
    if (!holds_folders(place)) return fail(node, paths[i] + " is no folder; it belongs into [" + place.section + "]");
    if (!make_folders(resolve(root_, paths[i]))) return failed(node, paths[i]);
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
    if (!take_text(node, name, &value)) return false;
    if (const std::string wrong = wrong_property(name, value); !wrong.empty()) return fail(node, wrong);
    const std::string line = "\n" + name + "=";
    if (const size_t at = ("\n" + text).find(line); at != text.npos) {
      text.erase(at, std::min(text.find('\n', at), text.size() - 1) + 1 - at);
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
  std::vector<std::string> names;
  FactoryItem item = {0, 0, Encoding::text, ""};
  int index, length;
  const size_t dash = name.find('-');
  const bool is_index = read_number(name.substr(0, dash), 0, INT32_MAX, &index);
  for (const FactoryItem& row : kFactoryItems) {
    if (name == row.name || (is_index && dash == name.npos && row.index == static_cast<unsigned>(index))) item = row;
    names.push_back(row.name);
  }
  if (item.length == 0 && is_index && dash != name.npos &&
      read_number(name.substr(dash + 1), 1, static_cast<int>(kPhoneFileContentMax), &length)) {
    item.index = static_cast<unsigned>(index);
    item.length = length;
  }
  if (item.length == 0) return unknown(key, "the item", names);
  Content content;
  const bool is_digit = item.encoding == Encoding::digit;
  if (const auto number = node.value<int64_t>(); number && node.is_integer()) {
    if (item.encoding != Encoding::flag && !is_digit)
      return fail(node, name + " is a text or bytes: write it in quotes");
    if (*number < 0 || *number > (is_digit ? 9 : 255)) {
      return fail(node, name + " is a number from 0 to " + (is_digit ? "9" : "255"));
    }
    content = content_of(std::string(1, static_cast<char>(is_digit ? '0' + *number : *number)));
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
      if (!add_lines(node, "/sim/modem.conf", true)) return false;
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
    if (!add_lines(node, "/sim/input.conf", false)) return false;
  }
  return true;
}

bool Importer::take_card_path(const toml::node& node, const std::string& path) {
  if (!path.starts_with('/')) return take_path(node, "/" + path);
  return fail(node, "\"" + path + "\": a path on a card begins without \"/\"");
}

bool Importer::take_card(const std::string& name, const toml::node& node) {
  if (!is_card_name(name) || !node.is_table()) {
    return fail(node, "a card is a section [cards.NAME]: letters, digits, - and _, at most 32");
  }
  const toml::table& card = *node.as_table();
  const std::string place = "/sim/cards/" + name, files = place + "/files/";
  CardState state = new_card(name);
  CardContents contents = CardContents::as_they_are;
  std::string text;
  if (const toml::node* is = card.get("is")) {
    if (!take_text(*is, "\"is\"", &text)) return false;
    std::string_view rest = text;
    for (std::string_view word; !(word = take_word(&rest)).empty();) {
      if (!apply_word(word, &state, &contents)) {
        return fail(*is, "\"" + std::string(word) + "\" is no word of a card; docs/simulated-phone.md has them");
      }
    }
  }
  if (!make_folders(root_ + files) || !make_contents(root_ + place + "/files", contents) ||
      !write_file(root_ + place + "/card", to_words(state) + "\n")) {
    return failed(node, place);
  }
  for (const auto& [key, value] : card) {
    if (key == "is") continue;
    if (key == "in") {
      if (!value.is_boolean()) return fail(value, "\"in\" is true or false");
      if (!*value.value<bool>()) continue;
      if (std::exchange(has_card_, true)) return fail(value, "only one card can be in");
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
    if (!put(node, "/sim/" + std::string(key.str()))) return false;
  }
  return true;
}

bool Importer::programs(const toml::table& section) {
  for (const auto& [key, node] : section) {
    if (!put(node, "/system/bin/" + std::string(key.str()), true)) return false;
  }
  return true;
}

bool Importer::paths(const toml::table& section, const std::string& name) {
  for (const auto& [key, node] : section) {
    const std::string path(key.str());
    if (!take_path(node, path)) return false;
    const std::string belongs = place_of(path).section;
    if (belongs.empty()) return fail(key.source(), path + " is the phone's own, and begins anew; leave it out");
    if (belongs != name) return fail(key.source(), path + " belongs into [" + belongs + "]");
    if (!put(node, path)) return false;
  }
  return true;
}

bool Importer::run(const toml::table& phone) {
  std::vector<std::string> names = {"faults", "removed", "folders"};
  for (const Section& section : kSections) names.push_back(section.name);
  for (const auto& [key, node] : phone) {
    const auto found = std::find(names.begin(), names.end(), key.str());
    if (found == names.end()) return unknown(key, "the section", names);
    if (found - names.begin() > 2 && !node.is_table()) return fail(node, "this is a section: [" + *found + "]");
  }
  if (!faults(phone) || !removed(phone) || !folders(phone)) return false;
  for (const Section& section : kSections) {
    const toml::node* node = phone.get(section.name);
    if (node && !(this->*section.take)(*node->as_table())) return false;
  }
  return true;
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
  std::string place = folder;
  while (place.size() > 1 && place.ends_with('/')) place.pop_back();
  const toml::parse_result parsed = toml::parse(text, name);
  if (!parsed) return TomlReader(name, error).fail(parsed.error().source(), std::string(parsed.error().description()));
  std::error_code failure;
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
    fs::rename(fresh, place, failure);
    if (failure) made = false, *error = place + ": " + failure.message();
  }
  fs::remove_all(draft, failure);
  return made;
}

}  // namespace atd::sim
