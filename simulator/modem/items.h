// The modem's built-in items: what each opcode answers and keeps where no row of "sim/modem.conf" says otherwise. An
// item is one file below "sim/modem" in the phone's folder; it survives a reboot.
#pragma once

#include <stddef.h>

#include <atomic>
#include <string>
#include <string_view>

namespace atd::sim {

class ModemItems {
 public:
  // `syncs` is the phone's switch and outlives the items.
  ModemItems(const std::string& root, const std::atomic<bool>& syncs);

  // Carries one request out; *answer has at most 2048 bytes. What it has stored is there whole and on the medium. False
  // when the modem knows no such opcode, the payload makes no sense or the item cannot be stored; the reason is logged
  // to the main buffer.
  bool answer(int opcode, const std::string& payload, std::string* answer);

  // Whether an item that is stored in the file of this name survives a restart; a name that no item has does neither.
  static bool keeps(const std::string& name);
  static bool forgets(const std::string& name);

  // Forgets what lasts until the modem restarts: radio modes and a half-done bulk transfer.
  void restart();

 private:
  struct Item;
  static const Item kItems[];

  bool carry_out(const Item& item, const std::string& payload, std::string* answer);
  std::string stored(const std::string& name, std::string_view when_missing) const;
  bool store(const std::string& name, const std::string& value);
  bool receive_bulk(const std::string& chunk);
  std::string next_bulk_chunk();
  bool access_nv(bool write, const std::string& packet, std::string* answer);
  bool sum_nv(const std::string& list, std::string* answer);

  std::string folder_;
  const std::atomic<bool>& syncs_;
  std::string incoming_;  // bulk data so far; survives a lost connection, because the sender then goes on
  size_t bulk_sent_ = 0;  // bytes of the stored bulk data already given out
};

}  // namespace atd::sim
