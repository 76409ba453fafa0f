#include "simulator/factory_items.h"

#include <errno.h>
#include <string.h>

#include "simulator/files.h"

namespace atd::sim {

namespace {

std::string name(unsigned index, size_t length) { return "/" + std::to_string(index) + "-" + std::to_string(length); }

}  // namespace

bool FactoryItems::read(unsigned index, int length, std::string* value) const {
  bool done = read_file(folder_ + name(index, static_cast<size_t>(length)), value) || errno == ENOENT;
  value->resize(static_cast<size_t>(length));
  return done;
}

std::string FactoryItems::get(unsigned index, int length) const {
  std::string value;
  read(index, length, &value);
  return value;
}

bool FactoryItems::set(unsigned index, const std::string& value) {
  return write_file(folder_ + name(index, value.size()), value);
}

bool FactoryItems::set_text(unsigned index, int length, std::string text) {
  text.resize(static_cast<size_t>(length));
  return set(index, text);
}

}  // namespace atd::sim
