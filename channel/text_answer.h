// A request whose answer is a text.
#pragma once

#include "platform/records.h"

namespace atd {

// The answer, which has its terminator here even where it fills the record; the empty text, and the length -1, without
// one.
struct TextAnswer {
  char text[MAX_RZCMD_REQ_SIZE + 1] = {};
  int length = 0;
  int status = 0;

  // Asks the modem or the platform; 0, or the error of request_to_system.
  int ask(int opcode, const char* data = nullptr, int data_length = 0);

  // Copies the text to a buffer of MAX_RZCMD_REQ_SIZE bytes, which loses the last byte of one that fills the record.
  void copy_to(char* out) const;
};

}  // namespace atd
