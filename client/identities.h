// What tells one phone or person from all others: IMEI, MEID, serial numbers, PID, addresses, the phone number. They
// are masked where nobody has asked for them, as in logs and recordings.
#pragma once

#include <stdint.h>

#include <filesystem>
#include <set>
#include <string>

#include "desk/framing.h"
#include "desk/message.h"

namespace atd::client {

// A mask is the value's first 6 and last 2 letters and digits, and a mark of 4 that is the same for the same value of
// one phone: "490154…18#k3f9". Separators and case do not count. A value of less than 10 is the mark alone, "…#k3f9".
class Identities {
 public:
  // Of the phone in the folder, "" for one that is not simulated. Its factory items are read after each write of the
  // phone's, not after an edit in place. The key is sim/identity-key in the folder, or else atdctl/identity-key in the
  // user's state folder; a missing one is made when it is first needed. Where it cannot be kept the marks hold for this
  // run only. `plain` masks nothing.
  Identities(std::string folder, bool plain) : folder_(std::move(folder)), plain_(plain) {}

  // The text with the identities of the phone's items masked, and what has the form of one: 14 to 16 digits that
  // stand in no hash, 12 or 14 hex digits, and an address of six pairs with colons or dashes between them.
  std::string in_text(const std::string& text);

  // A JSON line of a phone's verb with its texts masked, also those that it has in hex.
  std::string in_json(const std::string& line);

  // The data of a request to the platform or of its answer: that of the phone number's opcode is masked whole, other
  // data as in_text() does. Nothing says what the data is about, so words in it that look like a serial number are
  // masked too: 10 to 20 letters and digits, 6 digits of them and more, but not digits alone.
  std::string in_data(int32_t opcode, const std::string& data);

  // The message with its text, or the data of its record, masked as in_data() does; data is cut where a record has no
  // room for the masks. An answer that is malformed is left out.
  Message in_message(const Message& message);

 private:
  void find_values();
  std::string in_text(const std::string& text, bool has_serial_numbers);
  std::string masked(const std::string& value);

  std::string folder_;
  bool plain_, has_key_ = false;
  uint64_t key_[2] = {};
  std::set<std::string> values_;  // that the phone's items have, or have had
  std::filesystem::file_time_type read_ = std::filesystem::file_time_type::min();  // when they were read
};

// Whether there is a mask in the text or in the data of the record that it carries.
bool is_masked(const Message& message);

}  // namespace atd::client
