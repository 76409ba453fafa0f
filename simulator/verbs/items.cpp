// The factory items, by the registry's names and encodings.
#include <errno.h>
#include <string.h>

#include <algorithm>

#include "desk/words.h"
#include "factory/item_registry.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

constexpr size_t kShown = 40;            // bytes of a value in a table
constexpr size_t kLongestIdentity = 30;  // the PID

const char* to_text(Encoding encoding) {
  switch (encoding) {
    case Encoding::flag: return "flag";
    case Encoding::digit: return "digit";
    case Encoding::text: return "text";
    case Encoding::bytes: return "bytes";
  }
  return "?";
}

std::string without_padding(const std::string& bytes) { return bytes.substr(0, bytes.find_last_not_of('\0') + 1); }

bool is_plain(const std::string& text) {
  return is_utf8(text) && std::none_of(text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 127; });
}

// The value of an item as its encoding has it: a text, a number, or bytes in hex as {"hex": ...}.
Json value_of(const FactoryItem& item, const std::string& bytes) {
  const std::string text = without_padding(bytes);
  switch (item.encoding) {
    case Encoding::flag: return static_cast<unsigned char>(bytes[0]);
    case Encoding::digit:
      if (text.empty()) return nullptr;
      if (text.size() == 1 && text[0] >= '0' && text[0] <= '9') return text[0] - '0';
      break;
    case Encoding::text:
      if (is_plain(text)) return text;
      break;
    case Encoding::bytes: break;
  }
  return {{"hex", to_hex(bytes)}};
}

std::string value_text(const Json& value) {
  if (value.is_null()) return "-";
  if (value.is_object()) return "hex:" + value["hex"].get<std::string>();
  return value.is_string() ? value.get<std::string>() : value.dump();
}

Json to_json(const FactoryItem& item, const std::string& bytes) {
  return {{"index", item.index},
          {"name", item.name},
          {"encoding", to_text(item.encoding)},
          {"length", item.length},
          {"value", value_of(item, bytes)}};
}

// The registered item of an index or a name; when there is none, fails the call and returns null.
const FactoryItem* named(VerbCall& call, const std::string& name) {
  std::string error;
  const FactoryItem* item = item_named(name, &error);
  if (!item) call.fail(kUsage, error);
  return item;
}

std::string bytes_of_number(const FactoryItem& item, int number) {
  return std::string(1, static_cast<char>(item.encoding == Encoding::digit ? '0' + number : number));
}

// Turns a value into the bytes of an item: a number for a flag or a digit, a text, or bytes. Returns what is wrong with
// the value, "" when it fits.
std::string to_bytes(const FactoryItem& item, const Json& value, std::string* bytes) {
  const bool numeric = item.encoding == Encoding::flag || item.encoding == Encoding::digit;
  const int highest = item.encoding == Encoding::flag ? 255 : 9;
  bytes->clear();
  if (value.is_object() && value.size() == 1 && value.contains("hex") && value["hex"].is_string()) {
    if (!from_hex(value["hex"].get_ref<const std::string&>(), bytes)) return "the value is not pairs of hex digits";
    if (bytes->size() != static_cast<size_t>(item.length)) {
      return "the item has " + std::to_string(item.length) + " bytes, the value " + std::to_string(bytes->size());
    }
  } else if (numeric && value.is_number_integer() && value.get<int64_t>() >= 0 && value.get<int64_t>() <= highest) {
    *bytes = bytes_of_number(item, value.get<int>());
  } else if (item.encoding == Encoding::text && value.is_string()) {
    *bytes = value.get<std::string>();
  } else if (!value.is_null()) {
    if (numeric) return "the value is a number from 0 to " + std::to_string(highest);
    return item.encoding == Encoding::text ? "the value is a text" : "the value is hex digits";
  }
  if (bytes->size() > static_cast<size_t>(item.length)) {
    return "the item holds " + std::to_string(item.length) + " bytes, the text has " + std::to_string(bytes->size());
  }
  bytes->resize(static_cast<size_t>(item.length));
  return "";
}

// The value that a person typed for an item.
Json typed(const FactoryItem& item, const std::string& word) {
  int number;
  if (word.starts_with("hex:")) return {{"hex", word.substr(4)}};
  if (item.encoding == Encoding::bytes) return {{"hex", word}};
  if (item.encoding == Encoding::text) return word;
  return read_number(word, INT32_MIN, INT32_MAX, &number) ? Json(number) : Json(word);
}

// False, and the call has failed, when the item cannot be written.
bool store(SimulatedDevice& device, VerbCall& call, const FactoryItem& item, const std::string& bytes) {
  if (device.items.set(item.index, bytes)) return true;
  call.fail(kFailed, "item " + std::to_string(item.index) + " cannot be written: " + strerror(errno));
  return false;
}

// The beginning of a long value. It does not end in the middle of what its reader may mask.
std::string cut(const std::string& value) {
  for (const char* joined : {":-", ""}) {  // an address has them
    size_t begin = kShown;
    auto is_part = [&](unsigned char c) { return isalnum(c) || (c != 0 && strchr(joined, c)); };
    while (begin > 0 && is_part(static_cast<unsigned char>(value[begin - 1]))) --begin;
    if (kShown - begin <= kLongestIdentity) return value.substr(0, begin);
  }
  return value.substr(0, kShown);
}

void list(SimulatedDevice& device, VerbCall& call) {
  std::vector<std::vector<std::string>> lines = {{"INDEX", "NAME", "LENGTH", "ENCODING", "VALUE"}};
  Json json = Json::array();
  for (const FactoryItem& item : kFactoryItems) {
    const std::string bytes = device.items.get(item.index, item.length);
    std::string value = without_padding(bytes).empty() ? "-" : value_text(value_of(item, bytes));
    if (value.size() > kShown) value = cut(value) + "...";
    lines.push_back(
        {std::to_string(item.index), item.name, std::to_string(item.length), to_text(item.encoding), value});
    json.push_back(to_json(item, bytes));
  }
  call.answer(table(lines), json);
}

// The end of the words, from the first on, that name an item, whose name may have spaces.
size_t end_of_name(const VerbCall& call, size_t first) {
  for (size_t end = call.count(); end > first + 1; --end) {
    const std::string name = call.words(first, end);
    if (std::any_of(std::begin(kFactoryItems), std::end(kFactoryItems),
                    [&](const auto& i) { return name == i.name; })) {
      return end;
    }
  }
  return first + 1;
}

void get(SimulatedDevice& device, VerbCall& call) {
  std::vector<const FactoryItem*> items;
  for (size_t i = 0, end; i < call.count(); i = end) {
    end = end_of_name(call, i);
    items.push_back(named(call, call.words(i, end)));
    if (!items.back()) return;
  }
  for (const FactoryItem* item : items) {
    const std::string bytes = device.items.get(item->index, item->length);
    if (!call.answer(value_text(value_of(*item, bytes)) + "\n", to_json(*item, bytes))) return;
  }
}

void set(SimulatedDevice& device, VerbCall& call) {
  const FactoryItem* item = named(call, call[0]);
  if (!item) return;
  std::string bytes;
  const std::string wrong = to_bytes(*item, typed(*item, call[1]), &bytes);
  if (!wrong.empty()) return call.fail(kUsage, "item " + std::to_string(item->index) + ": " + wrong);
  store(device, call, *item, bytes);
}

void export_items(SimulatedDevice& device, VerbCall& call) {
  Json json = Json::array();
  for (const FactoryItem& item : kFactoryItems) {
    const std::string bytes = device.items.get(item.index, item.length);
    if (!without_padding(bytes).empty()) json.push_back(to_json(item, bytes));
  }
  std::string text;
  for (const Json& one : json) text += (text.empty() ? "[" : " ,") + one.dump() + "\n";
  call.answer(text.empty() ? "[]\n" : text + "]\n", json);
}

void import_items(SimulatedDevice& device, VerbCall& call) {
  const Json json = Json::parse(call.input(), nullptr, false);
  if (!json.is_array()) return call.fail(kUsage, "not an array of items, such as \"item export\" writes");
  // Everything is checked before the first item is written.
  std::vector<std::pair<const FactoryItem*, std::string>> items;
  for (const Json& one : json) {
    const bool has_both =
        one.is_object() && one.contains("index") && one["index"].is_number_unsigned() && one.contains("value");
    if (!has_both) return call.fail(kUsage, "not an item with an \"index\" and a \"value\": " + one.dump());
    const FactoryItem* item = named(call, one["index"].dump());
    if (!item) return;
    std::string bytes;
    const std::string wrong = to_bytes(*item, one["value"], &bytes);
    if (!wrong.empty()) return call.fail(kUsage, "item " + std::to_string(item->index) + ": " + wrong);
    items.emplace_back(item, bytes);
  }
  for (const auto& [item, bytes] : items) {
    if (!store(device, call, *item, bytes)) return;
  }
  call.answer(std::to_string(items.size()) + (items.size() == 1 ? " item\n" : " items\n"), {{"items", items.size()}});
}

constexpr Verb kVerbs[] = {
    {"item list", "", "Shows every factory item with its value.", list, Masks::all},
    {"item get", "INDEX|NAME...", "Shows the value of each item.", get},
    {"item set", "INDEX|NAME VALUE", "Writes an item: a text, a number for a flag or a digit, hex digits for bytes.",
     set},
    {"item export", "", "Writes the items that are set as JSON.", export_items},
    {"item import", "FILE|-", "Writes the items of a file that \"item export\" has written.", import_items},
};

}  // namespace

std::span<const Verb> item_rows() { return kVerbs; }

}  // namespace atd::sim
