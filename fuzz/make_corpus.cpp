// Writes the seeds of the fuzz targets, made from the opcode table: make_corpus FOLDER.
#include <stdio.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "dispatch/opcode_table.h"
#include "transport/base64.h"
#include "platform/records.h"

namespace {

std::string record(int opcode, const std::string& payload) {
  rzcmd_request req = {};
  req.opcode = opcode;
  req.data_len = static_cast<int>(payload.size());
  payload.copy(req.data, sizeof req.data);
  return std::string(reinterpret_cast<const char*>(&req), atd::kRequestHeaderSize + payload.size());
}

std::string line(const std::string& bytes) {
  std::string text(atd::base64_text_size(bytes.size()), '\0');
  atd::base64_encode(bytes.data(), static_cast<int>(bytes.size()), text.data());
  return "atsrequest " + text;  // the text carries its NUL
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "Usage: make_corpus FOLDER\n");
    return 64;
  }
  const std::filesystem::path folder = argv[1];
  std::filesystem::create_directories(folder / "fuzz_listener");
  std::filesystem::create_directories(folder / "fuzz_service");
  for (const atd::Opcode& row : atd::opcodes()) {
    for (const char* payload : {"", "1", "on", "0a1B2c3D4e5F"}) {
      std::string name = std::string(row.name) + "-" + payload;
      std::ofstream(folder / "fuzz_service" / name) << record(row.number, payload);
      std::ofstream(folder / "fuzz_listener" / name) << line(record(row.number, payload));
    }
  }
  int n = 0;
  for (const char* text : {"atcommand initialize", "atcommand adc AT+CIMI", "atresponse QUJD", "atcommand \"open",
                           "atcommand \\n", "a\"b c\"", "\\\\\\\"", ""}) {
    std::ofstream(folder / "fuzz_listener" / ("line-" + std::to_string(n++))) << std::string(text, strlen(text) + 1);
  }
  return 0;
}
