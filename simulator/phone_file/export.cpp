#include <errno.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <tuple>
#include <utility>

#include "desk/words.h"
#include "simulator/phone_file/content.h"
#include "simulator/phone_file/phone_file.h"
#include "simulator/phone_file/places.h"
#include "simulator/simulated_device.h"
#include "simulator/tools.h"

namespace atd::sim {

namespace fs = std::filesystem;

namespace {

constexpr const char* kHead =
    "# A simulated phone: what is not as on a new one. \"atd --scratch --from FILE\" runs it.\n"
    "# docs/simulated-phone.md says what stands where.\n";

// The sections in their order.
constexpr const char* kSections[] = {"build", "properties", "items",    "modem",    "modem.records", "efs",
                                     "input", "cards",      "settings", "programs", "nodes",         "files"};

using Tree = std::map<std::string, fs::file_type>;

// What is in a folder, by its path there ("/data/x"); none of a folder that is not there. A walk that fails leaves a
// sentence in *error.
Tree tree_of(const std::string& root, std::string* error) {
  Tree tree;
  std::error_code failed, ignored;
  fs::recursive_directory_iterator entry(root, failed);
  if (failed == std::errc::no_such_file_or_directory) return tree;
  for (; !failed && entry != fs::recursive_directory_iterator(); entry.increment(failed)) {
    const std::string path = entry->path().string().substr(root.size());
    // A file that somebody is writing is not there yet.
    if (path.find(".new~") == path.npos) tree[path] = entry->symlink_status(ignored).type();
  }
  if (failed) *error = root + " cannot be read to its end: " + failed.message() + "; try again";
  return tree;
}

bool is_empty_folder(const Tree& tree, const std::string& path) {
  const auto next = tree.lower_bound(path + "/");
  return next == tree.end() || !next->first.starts_with(path + "/");
}

// The lines of a settings file that count.
std::vector<std::string> lines_of(const std::string& file) {
  std::string text;
  read_file(file, &text);
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    const size_t start = std::min(line.find_first_not_of(kSpaces), line.size());
    line = line.substr(start, line.find_last_not_of(kSpaces) + 1 - start);
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  }
  return lines;
}

// An array with a text on each line.
std::string listed_lines(const std::vector<std::string>& texts) {
  std::string list = "[";
  for (const std::string& text : texts) list += "\n  " + quoted(text) + ",";
  return list + (texts.empty() ? "]" : "\n]");
}

// Whether a settings file says what a new phone has anyway.
bool is_as_new(const SimulatedDevice& device, const std::string& setting) {
  const DisplaySettings now = device.display.settings(), fresh;
  if (setting == "display") {
    return std::tie(now.width, now.height, now.depth, now.format) ==
           std::tie(fresh.width, fresh.height, fresh.depth, fresh.format);
  }
  const auto passes = [&](const std::string& test) {
    const FpTestResult found = device.fingerprint.verdict(test);
    return found.isPass == 1 && found.result == 0;
  };
  return std::all_of(Fingerprint::tests().begin(), Fingerprint::tests().end(), passes);
}

// A folder that goes away.
struct Temporary {
  explicit Temporary(std::string* error) : path(make_temporary("atd-new", error)) {}
  ~Temporary() {
    std::error_code ignored;
    if (!path.empty()) fs::remove_all(path, ignored);
  }
  const std::string path;  // "" when it could not be made
};

class Exporter {
 public:
  Exporter(SimulatedDevice& device, const std::string& fresh) : device_(device), fresh_(fresh) {}

  // False with a sentence in *error when the phone cannot be read.
  bool run(const Tree& again, std::string* error);
  std::string text() const;
  std::vector<std::string> left_out;

 private:
  void add(const std::string& section, const std::string& key, const std::string& value) {
    sections_[section] += quoted_key(key) + " = " + value + "\n";
  }
  bool leave_out(const std::string& path, const std::string& why) {
    left_out.push_back(shown(path) + ": " + why);
    return false;
  }
  bool stands(const std::string& path, const std::string& text) {
    return is_utf8(text) || leave_out(path, "\"" + to_hex(text) + "\" (hex) is not UTF-8");
  }
  bool value_of(const std::string& path, const std::string& file, fs::file_type type, std::string* value);
  void add_item(const std::string& name);
  void add_property(const std::string& name);
  void add_file(const std::string& path, fs::file_type type);
  std::vector<std::string> good_lines(const std::string& file);
  void add_setting(const std::string& path, const std::string& name);
  void add_lines(const std::string& file, const char* section, const char* key);
  void add_build();
  void add_cards(std::string* error);

  SimulatedDevice& device_;
  const std::string& fresh_;
  Tree there_, new_;
  std::string mounted_;  // where the files of the mounted card are
  std::string awaited_;  // the place on the phone of a card that is in and not mounted
  std::map<std::string, std::string> sections_;
  std::map<std::pair<unsigned, int>, std::string> items_;
  std::vector<std::string> removed_, folders_;
};

// The value of a file, a link or what is neither, which is left out: false.
bool Exporter::value_of(const std::string& path, const std::string& file, fs::file_type type, std::string* value) {
  if (!stands(path, path)) return false;
  std::error_code error;
  if (type == fs::file_type::symlink) {
    const std::string target = fs::read_symlink(file, error);
    if (!stands(path, target)) return false;
    return *value = "{ link = " + quoted(target) + " }", true;
  }
  if (type != fs::file_type::regular) return leave_out(path, "neither a file nor a folder nor a link");
  Content content;
  // One that is gone meanwhile is gone.
  if (!read_content(file, &content)) return errno != ENOENT && leave_out(path, strerror(errno));
  const size_t size = packed_size(content);
  if (size > kPhoneFileContentMax) {
    return leave_out(path, std::to_string(size) + " bytes, more than " + std::to_string(kPhoneFileContentMax));
  }
  return *value = to_toml(content), true;
}

void Exporter::add_item(const std::string& name) {
  unsigned index;
  int length;
  if (!parse_stored_name(name, &index, &length)) {
    leave_out("/sim/items/" + name, "no item has this name, which is INDEX-LENGTH");
    return;
  }
  const Content content = content_of(device_.items.get(index, length));
  // As if it had never been written.
  if (content.bytes.empty()) return;
  std::string key = name;
  Encoding encoding = Encoding::text;
  if (const FactoryItem* item = find_item(index); item && item->length == length) {
    key = item->name;
    encoding = item->encoding;
  }
  const unsigned char first = static_cast<unsigned char>(content.bytes[0]);
  const bool digit = encoding == Encoding::digit && content.bytes.size() == 1 && first >= '0' && first <= '9';
  std::string value = to_toml(content_of(content.bytes), encoding == Encoding::bytes);
  if (encoding == Encoding::flag) value = std::to_string(first);
  else if (digit) value = std::to_string(first - '0');
  items_[{index, length}] = quoted_key(key) + " = " + value + "\n";
}

void Exporter::add_property(const std::string& name) {
  const std::vector<std::string> names = device_.properties.names();
  if (!name.starts_with("persist.") || !std::binary_search(names.begin(), names.end(), name)) {
    leave_out("/data/property/" + name, "no property has this name, which begins with \"persist.\"");
    return;
  }
  const std::string value = device_.properties.get(name);
  if (stands("/data/property/" + name, value)) add("properties", name, quoted(value));
}

void Exporter::add_file(const std::string& path, fs::file_type type) {
  const Place& place = place_of(path);
  const std::string section = place.section, name = path.substr(std::min(strlen(place.path), path.size()));
  if (section.empty()) return;
  const auto found = new_.find(path);
  const bool known = found != new_.end() && found->second == type, folder = type == fs::file_type::directory;
  if (folder && (known || !is_empty_folder(there_, path))) return;
  // There a folder may stay, or a link.
  const std::string within = type == fs::file_type::regular ? path + "/" : path;
  if (!awaited_.empty() && within.starts_with(awaited_ + "/")) {
    leave_out(path, "the card " + device_.card.state().name + " is mounted there at a boot, and needs an empty folder");
    return;
  }
  if (!folder && holds_own(path)) {
    leave_out(path, "the phone's own is below it, so it is a folder");
    return;
  }
  if (folder) {
    if (!holds_folders(place)) leave_out(path, "a folder, and only files are there");
    else if (stands(path, path)) folders_.push_back(path);
    return;
  }
  if (type == fs::file_type::symlink && path.starts_with("/sim/")) {
    leave_out(path, "a link, and the phone's own are files");
    return;
  }
  if (section == "items") return add_item(name);
  if (section == "properties") return add_property(name);
  if (section == "modem.records" && !ModemItems::keeps(name)) {
    // A mode of the radio that lasts until the modem restarts, or a stranger's file.
    if (!ModemItems::forgets(name)) leave_out(path, "no record of the modem has this name");
    return;
  }
  if (section == "settings") {
    if (name == "display" || name == "fingerprint") add_setting(path, name);
    else leave_out(path, "nothing of the phone reads it");
    return;
  }
  const std::string file = device_.root() + path;
  if (known && type == fs::file_type::regular) {
    // A script of an older version is renewed at the next boot.
    if (section == "programs" && is_installed(file)) return;
    Content mine, fresh;
    if (read_content(file, &mine) && read_content(fresh_ + path, &fresh)) {
      const bool is_mounts = path == "/proc/mounts" && mine.size <= static_cast<int64_t>(kPhoneFileContentMax);
      if (is_mounts) mine = content_of(without_card(mine.whole()));
      if (mine == fresh) return;
      if (is_mounts) return add(section, path, to_toml(mine));
    }
  }
  std::error_code error;
  if (known && type == fs::file_type::symlink &&
      fs::read_symlink(file, error) == fs::read_symlink(fresh_ + path, error))
    return;
  std::string value;
  if (!value_of(path, file, type, &value)) return;
  // In the modem's file system a path is absolute.
  add(section, place.keeps_path ? path : section == "efs" ? "/" + name : name, value);
}

// The lines of a settings file that make sense; the others are left out.
std::vector<std::string> Exporter::good_lines(const std::string& file) {
  std::vector<std::string> lines;
  for (const std::string& line : lines_of(device_.root() + file)) {
    const std::string wrong = wrong_line(file, line);
    if (!wrong.empty()) leave_out(file, shown(line) + ": " + shown(wrong));
    else if (stands(file, line)) lines.push_back(line);
  }
  return lines;
}

void Exporter::add_setting(const std::string& path, const std::string& name) {
  std::string text;
  for (const std::string& line : good_lines(path)) text += line + "\n";
  if (!is_as_new(device_, name)) add("settings", name, sim::quoted(text));
}

void Exporter::add_lines(const std::string& file, const char* section, const char* key) {
  const std::vector<std::string> lines = good_lines(file);
  if (lines != lines_of(fresh_ + file)) add(section, key, listed_lines(lines));
}

void Exporter::add_build() {
  auto mine = build_properties(device_.root()), fresh = build_properties(fresh_);
  for (const auto& [name, value] : fresh) mine.emplace(name, "");
  for (const auto& [name, value] : mine) {
    // One that is not set reads as the empty text.
    if (value == fresh[name]) continue;
    const std::string wrong = wrong_property(name, value);
    if (!wrong.empty()) leave_out("/system/build.prop", shown(wrong));
    else if (stands("/system/build.prop", name + "=" + value)) add("build", name, quoted(value));
  }
}

void Exporter::add_cards(std::string* error) {
  const CardState in = device_.card.state();
  for (const std::string& name : device_.card.names()) {
    const std::string kept = device_.root() + "/sim/cards/" + name;
    const std::string files = name == in.name && in.mounted ? mounted_ : kept + "/files";
    std::string& section = sections_["cards"];
    section += "\n[cards." + quoted_key(name) + "]\n";
    if (name == in.name) section += "in = true\n";
    section += "is = " + quoted(to_words(device_.card.load(name))) + "\n";
    const Tree tree = tree_of(files, error);
    std::string contents;
    std::vector<std::string> folders;
    for (const auto& [path, type] : tree) {
      const std::string shown = "/sim/cards/" + name + "/files" + path;
      std::string value;
      if (type == fs::file_type::directory) {
        if (is_empty_folder(tree, path) && stands(shown, path)) folders.push_back(path.substr(1));
      } else if (value_of(shown, files + path, type, &value)) {
        contents += quoted_key(path.substr(1)) + " = " + value + "\n";
      }
    }
    if (!folders.empty()) section += "folders = " + listed_lines(folders) + "\n";
    if (!contents.empty()) section += "\n[cards." + quoted_key(name) + ".files]\n" + contents;
  }
}

bool Exporter::run(const Tree& again, std::string* error) {
  there_ = tree_of(device_.root(), error);
  new_ = tree_of(fresh_, error);
  const CardState in = device_.card.state();
  if (in.mounted) {
    mounted_ = resolve(device_.root(), "/storage/" + in.id);
    if (mounted_.empty()) return *error = "/storage/" + in.id + " leads round in circles; unmount the card", false;
    const std::string place = mounted_.substr(device_.root().size());
    std::erase_if(there_, [&](const auto& entry) { return (entry.first + "/").starts_with(place + "/"); });
  }
  const std::string awaited = in.name.empty() || in.mounted ? "" : resolve(device_.root(), "/storage/" + in.id);
  if (!awaited.empty()) awaited_ = awaited.substr(device_.root().size());
  for (const auto& [path, type] : there_) add_file(path, type);
  std::set<std::string> gone;
  for (const auto& [path, type] : new_) {
    const auto found = there_.find(path);
    // What is made again at a boot is not gone for good, where nothing else has its place; what goes with its folder
    // needs no mention.
    const bool stays = found == there_.end() ? again.contains(path) : found->second == type;
    if (stays || !*place_of(path).section || holds_own(path)) continue;
    gone.insert(path);
    if (!gone.contains(path.substr(0, path.rfind('/')))) removed_.push_back(path);
  }
  for (const auto& [key, line] : items_) sections_["items"] += line;
  add_build();
  add_lines("/sim/modem.conf", "modem", "rows");
  add_lines("/sim/input.conf", "input", "lines");
  add_cards(error);
  return error->empty();
}

std::string Exporter::text() const {
  std::string text = kHead;
  for (const std::string& line : left_out) text += "# left out: " + quoted_key(line) + "\n";
  std::string faults;
  for (const Fault& fault : device_.faults.list()) {
    std::string words;
    for (const std::string& word : to_words(fault)) words += (words.empty() ? "" : ", ") + quoted(word);
    faults += "  [" + words + "],\n";
  }
  if (!faults.empty()) text += "\nfaults = [\n" + faults + "]\n";
  if (!removed_.empty()) text += "\nremoved = " + listed_lines(removed_) + "\n";
  if (!folders_.empty()) text += "\nfolders = " + listed_lines(folders_) + "\n";
  for (const std::string section : kSections) {
    const auto found = sections_.find(section);
    if (found == sections_.end() || found->second.empty()) continue;
    text += section == "cards" ? found->second : "\n[" + section + "]\n" + found->second;
  }
  return text;
}

}  // namespace

bool export_phone(SimulatedDevice& device, std::string* text, std::vector<std::string>* left_out, std::string* error) {
  error->clear();
  const Temporary fresh(error), booted(error);
  if (fresh.path.empty() || booted.path.empty()) return false;
  const std::string mark = booted.path + "/sim/boots";
  if (!make_folders(booted.path + "/sim") || !write_file(mark, ""))
    return *error = mark + ": " + strerror(errno), false;
  if (!SimulatedDevice::make(fresh.path, error) || !SimulatedDevice::make(booted.path, error)) return false;
  Exporter exporter(device, fresh.path);
  if (!exporter.run(tree_of(booted.path, error), error)) return false;
  *left_out = exporter.left_out;
  *text = exporter.text();
  return true;
}

}  // namespace atd::sim
