#include "simulator/door/sysutils/socket_message.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <charconv>

namespace atd::sim {

SocketMessage::SocketMessage(int code, const int* number, const char* text, const int* error) {
  char* end = std::to_chars(head_, head_ + sizeof(head_), code).ptr;
  *end++ = ' ';
  if (number != nullptr) {
    end = std::to_chars(end, head_ + sizeof(head_), *number).ptr;
    *end++ = ' ';
  }
  parts[0] = {head_, static_cast<size_t>(end - head_)};
  parts[1] = {const_cast<char*>(text), strlen(text)};
  if (error == nullptr) {
    parts[1].iov_len++;  // the text's own NUL ends the message
    count = 2;
    return;
  }
  char reason[128];
  const int length = snprintf(tail_, sizeof(tail_), " (%s)", strerror_r(*error, reason, sizeof(reason)));
  parts[2] = {tail_, std::min<size_t>(length, sizeof(tail_) - 1) + 1};
  count = 3;
}

}  // namespace atd::sim
