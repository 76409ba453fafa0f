#include "logs/crc_text.h"

#include "channel/request_channel.h"
#include "platform/records.h"
#include "text/text_writer.h"

namespace atd {

int request_crc_text(int opcode, char* out) {
  char response[MAX_RZCMD_REQ_SIZE + 1] = {};
  const int error = request_to_system(opcode, nullptr, 0, response, nullptr, nullptr);
  TextWriter(out, kCrcTextSize).text(error == 0 ? response : "");
  return error;
}

}  // namespace atd
