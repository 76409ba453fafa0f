#include "channel/text_answer.h"

#include "channel/request_channel.h"
#include "text/text_writer.h"

namespace atd {

int TextAnswer::ask(int opcode, const char* data, int data_length) {
  return request_to_system(opcode, data, data_length, text, &length, &status);
}

void TextAnswer::copy_to(char* out) const { TextWriter(out, MAX_RZCMD_REQ_SIZE).text(text); }

}  // namespace atd
