// Writes the seeds of the fuzz targets, made from the opcode table: make_corpus FOLDER.
#include <stdio.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "desk/framing.h"
#include "dispatch/opcode_table.h"
#include "platform/records.h"

namespace {

std::string record(int opcode, const std::string& payload) {
  rzcmd_request req = {};
  req.opcode = opcode;
  req.data_len = static_cast<int>(payload.size());
  payload.copy(req.data, sizeof req.data);
  return std::string(reinterpret_cast<const char*>(&req), atd::kRequestHeaderSize + payload.size());
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
      std::ofstream(folder / "fuzz_listener" / name) << atd::request_line(row.number, payload) + '\0';
    }
  }
  int n = 0;
  for (const std::string& text : {atd::initialize_line(), atd::send_line("AT+CIMI"), atd::response_line({0, 0, "ABC"}),
                                  std::string("atcommand \"open"), std::string("atcommand \\n"),
                                  std::string("a\"b c\""), std::string("\\\\\\\""), std::string()}) {
    std::ofstream(folder / "fuzz_listener" / ("line-" + std::to_string(n++))) << text + '\0';
  }
  return 0;
}
