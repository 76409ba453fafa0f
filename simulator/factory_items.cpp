#include "simulator/factory_items.h"

#include <android/log.h>
#include <errno.h>
#include <stdint.h>

#include <algorithm>
#include <vector>

#include "desk/nearest.h"
#include "desk/words.h"
#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr int kLengthMax = 64 * 1024;

std::string name(unsigned index, size_t length) { return std::to_string(index) + "-" + std::to_string(length); }

}  // namespace

const FactoryItem* item_named(const std::string& name, std::string* error) {
  int index;
  const bool is_index = read_number(name, 0, INT32_MAX, &index);
  std::vector<std::string> names;
  for (const FactoryItem& item : kFactoryItems) {
    if (is_index ? item.index == static_cast<unsigned>(index) : name == item.name) return &item;
    names.push_back(item.name);
  }
  *error = is_index ? "no item has the index " + name + "; \"item list\" shows all"
                    : "no item is named \"" + name + "\"; nearest: " + listed(nearest(name, names, 3));
  return nullptr;
}

bool parse_stored_name(const std::string& stored, unsigned* index, int* length) {
  int number;
  const size_t dash = std::min(stored.find('-'), stored.size());
  if (!read_number(stored.substr(0, dash), 0, INT32_MAX, &number)) return false;
  if (!read_number(stored.substr(std::min(dash + 1, stored.size())), 1, kLengthMax, length)) return false;
  *index = static_cast<unsigned>(number);
  return stored == name(*index, static_cast<size_t>(*length));
}

bool FactoryItems::read(unsigned index, int length, std::string* value) const {
  const size_t size = static_cast<size_t>(length);
  const std::string file = name(index, size);
  const bool stored = read_file(folder_ + "/" + file, value);
  if (stored) tidy(file, size, value);
  else if (errno != ENOENT) return false;
  value->resize(size);
  return true;
}

void FactoryItems::tidy(const std::string& file, size_t length, std::string* content) const {
  std::string found = *content;
  // The phone writes whole items, so the last line end in a file of another length is the editor's.
  if (found.size() != length && found.ends_with('\n')) content->pop_back();
  std::lock_guard guard(lock_);
  if (content->size() == length) {
    reported_.erase(file);
    return;
  }
  const auto [seen, first] = reported_.try_emplace(file);
  if (!first && seen->second == found) return;
  __android_log_print(ANDROID_LOG_WARN, "ftm", "sim/items/%s has %zu bytes instead of %zu: it is %s", file.c_str(),
                      found.size(), length, content->size() < length ? "padded with NULs" : "cut");
  seen->second = std::move(found);
}

std::string FactoryItems::get(unsigned index, int length) const {
  std::string value;
  if (!read(index, length, &value)) value.assign(static_cast<size_t>(length), '\0');
  return value;
}

bool FactoryItems::set(unsigned index, const std::string& value) {
  return write_file(folder_ + "/" + name(index, value.size()), value, syncs_);
}

bool FactoryItems::set_text(unsigned index, int length, std::string text) {
  text.resize(static_cast<size_t>(length));
  return set(index, text);
}

}  // namespace atd::sim
