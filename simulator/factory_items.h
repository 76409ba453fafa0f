// The factory item store: a file for each item below "sim/items", named INDEX-LENGTH, because the same index with
// another length is another record. An item never written reads as zero bytes. Items survive everything.
#pragma once

#include <string>

namespace atd::sim {

class FactoryItems {
 public:
  explicit FactoryItems(const std::string& root) : folder_(root + "/sim/items") {}

  // Reads the `length` bytes of an item; false when it is stored but cannot be read.
  bool read(unsigned index, int length, std::string* value) const;

  // The same, with zeros for an item that cannot be read.
  std::string get(unsigned index, int length) const;

  // Writes an item of value.size() bytes, whole or not at all; false when the store cannot be written.
  bool set(unsigned index, const std::string& value);

  // The same with the value cut or padded with NULs to `length`.
  bool set_text(unsigned index, int length, std::string text);

 private:
  std::string folder_;
};

}  // namespace atd::sim
