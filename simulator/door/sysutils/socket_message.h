// A coded message of a socket service, laid out for one gathering write.
#pragma once

#include <sys/uio.h>

namespace atd::sim {

class SocketMessage {
 public:
  // "CODE TEXT" and a NUL; with a number "CODE NUMBER TEXT", with an error number "TEXT (strerror)". A null pointer or
  // 0 leaves them out. The text is not copied and stays the caller's.
  SocketMessage(int code, const int* number, const char* text, const int* error);
  SocketMessage(const SocketMessage&) = delete;
  SocketMessage& operator=(const SocketMessage&) = delete;

  struct iovec parts[3];
  int count;

 private:
  char head_[32];
  char tail_[160];
};

}  // namespace atd::sim
