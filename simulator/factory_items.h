// The factory item store: a file for each item below "sim/items", named INDEX-LENGTH, because the same index with
// another length is another record. An item never written reads as zero bytes. Items survive everything. A person may
// edit the files. Safe to use from any thread.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>

#include "factory/item_registry.h"

namespace atd::sim {

// The registered item of an index or a name; null with a sentence in *error, which names the nearest ones.
const FactoryItem* item_named(const std::string& name, std::string* error);

// Takes the name of a stored item apart; false for what is no INDEX-LENGTH, with a length of at most 64 KiB.
bool parse_stored_name(const std::string& name, unsigned* index, int* length);

class FactoryItems {
 public:
  // `syncs` is the phone's switch and outlives the store.
  FactoryItems(const std::string& root, const std::atomic<bool>& syncs) : folder_(root + "/sim/items"), syncs_(syncs) {}

  // Reads the `length` bytes of an item; false with errno when it is stored but cannot be read. A file of another
  // length is a person's: the line end that an editor leaves goes, the rest is cut or padded with NULs. One that then
  // still has another length is a warning in the main log, once for each content.
  bool read(unsigned index, int length, std::string* value) const;

  // The same, with zeros for an item that cannot be read.
  std::string get(unsigned index, int length) const;

  // Writes an item of value.size() bytes, whole or not at all, and on the medium when this returns; false with errno
  // when the store cannot be written.
  bool set(unsigned index, const std::string& value);

  // The same with the value cut or padded with NULs to `length`.
  bool set_text(unsigned index, int length, std::string text);

 private:
  void tidy(const std::string& file, size_t length, std::string* content) const;

  std::string folder_;
  const std::atomic<bool>& syncs_;
  mutable std::mutex lock_;
  mutable std::map<std::string, std::string> reported_;  // files of a wrong length: what they had when it was logged
};

}  // namespace atd::sim
