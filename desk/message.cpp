#include "desk/message.h"

#include <algorithm>
#include <utility>

namespace atd {

Message to_message(std::string bytes) {
  Message message;
  size_t digits = std::min(bytes.find_first_not_of("0123456789"), bytes.size());
  bool coded = digits > 0 && digits < 9 && (digits == bytes.size() || bytes[digits] == ' ');
  message.code = coded ? std::stoi(bytes.substr(0, digits)) : 0;
  message.text = coded ? bytes.substr(std::min(digits + 1, bytes.size())) : bytes;
  message.bytes = std::move(bytes);
  return message;
}

bool Splitter::next(Message* message) {
  size_t end = pending_.find('\0', std::max(begin_, scanned_));
  if (end == std::string::npos) {
    pending_.erase(0, begin_);
    begin_ = 0;
    scanned_ = pending_.size();
    return false;
  }
  *message = to_message(pending_.substr(begin_, end - begin_));
  begin_ = end + 1;
  return true;
}

}  // namespace atd
