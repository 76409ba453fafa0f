#include "logs/crc_command.h"

#include "channel/opcodes.h"
#include "logs/code_crc.h"
#include "logs/crc_text.h"
#include "logs/dump.h"
#include "logs/file_crc.h"
#include "logs/nv_crc.h"
#include "platform/log.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

// Logs the result of a CRC function, 1 for success, a named one with its text; true for success.
bool report(int result, const char* text, const char* name, const char* failure) {
  if (result != 1) SLOGE("%s", failure);
  else if (name) SLOGI("%s CRC: %s", name, text);
  return result == 1;
}

bool run(int type, char* text) {
  switch (type) {
    case 0: return report(db_crc(text), text, "DB", "db crc fail!");
    case 1: return report(fpri_crc(text), text, "FPRI", "fpri crc fail!");
    case 2: return report(code_crc(text), text, "CODE", "");
    case 3:
      return report(db_dump(text), text, nullptr, "db dump fail!") &&
             report(phone_status_dump(), text, nullptr, "phone status dump fail!");
    case 4: return report(db_copy(text), text, nullptr, "db copy fail!");
    case 5: return report(file_crc(text, nullptr), text, "FILE", "");
    case 6: return report(nv_crc(text), text, "NV", "nv crc fail!");
    case 7: return report(nv_dump(), text, nullptr, "nv dump fail!");
    case 8: return report(nv_copy(text), text, nullptr, "nv copy fail!");
    default: SLOGE("Error : Invalid type"); return false;
  }
}

bool run_wizard(int type, char* text) {
  if (type == 0) {
    return report(crcwizard_file_dump(text), text, nullptr, "file_dump fail!") &&
           report(crcwizard_phone_status_dump(), text, nullptr, "phone status dump fail!");
  }
  SLOGE("Error : Invalid type");
  return false;
}

int answer(bool done, const char* text, char* out) {
  TextWriter writer(out, kCrcAnswerSize);
  if (done) writer.text("0x").text(text);
  else writer.text("ERROR");
  return done ? 0 : 1;
}

}  // namespace

int crc_command(int type, char* out) {
  char text[kCrcTextSize] = "";
  const bool done = run(type, text);
  return answer(done, text, out);
}

int crcwizard_command(int type, char* out) {
  char text[kCrcTextSize] = "";
  const bool done = run_wizard(type, text);
  return answer(done, text, out);
}

int db_crc(char* out) { return request_crc_text(kDbCrc, out) == 0 ? 1 : 0; }
int fpri_crc(char* out) { return request_crc_text(kFpriCrc, out) == 0 ? 1 : 0; }
int db_copy(char* out) { return request_crc_text(kDbCopy, out) == 0 ? 1 : 0; }
