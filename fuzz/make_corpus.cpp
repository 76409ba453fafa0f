// Writes the seeds that are made from tables: make_corpus FOLDER. Others are lines of fuzz/seeds.txt.
#include <stdio.h>
#include <string.h>
#include <zip.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "desk/control.h"
#include "desk/framing.h"
#include "desk/verb.h"
#include "dispatch/opcode_table.h"
#include "platform/records.h"

using namespace std::string_literals;

namespace {

std::filesystem::path g_folder;
int g_count;

void seed(const char* target, const std::string& bytes) {
  std::filesystem::create_directories(g_folder / target);
  std::ofstream(g_folder / target / std::to_string(++g_count)) << bytes;
}

// An archive in the folder, as a seed: one entry is deflated, the other one stored, with sizes of 64 bits.
void seed_archive() {
  const std::string file = g_folder / "fuzz_unzip" / "archive";
  std::filesystem::create_directories(g_folder / "fuzz_unzip");
  const zipFile zip = zipOpen64(file.c_str(), APPEND_STATUS_CREATE);
  for (int method : {Z_DEFLATED, 0}) {
    zipOpenNewFileInZip64(zip, method ? "there/a" : "b", nullptr, nullptr, 0, nullptr, 0, nullptr, method, 1, !method);
    zipWriteInFileInZip(zip, "text text text", 14);
    zipCloseFileInZip(zip);
  }
  zipClose(zip, nullptr);
  std::ifstream archive(file);
  seed("fuzz_unzip", "\0"s + std::string(std::istreambuf_iterator<char>(archive), {}));
}

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
  g_folder = argv[1];
  for (const atd::Opcode& row : atd::opcodes()) {
    for (const char* payload : {"", "1", "on", "0a1B2c3D4e5F"}) {
      seed("fuzz_service", record(row.number, payload));
      seed("fuzz_listener", atd::request_line(row.number, payload) + '\0');
      seed("fuzz_client", "3"s + row.name + " " + payload);
    }
  }
  // Which request, its argument, and an answer: its length stands in the second byte of its head.
  for (int which = 0; which < 256; ++which) {
    for (const char* answer : {"", "1", "OK", "IDDE OK", "IMEI WRITE OK", "490154203237518"}) {
      const std::string head = {static_cast<char>(which), 2, '3', '5', '\0', static_cast<char>(strlen(answer))};
      seed("fuzz_modem", head + answer + "\0\0011"s);
    }
  }
  seed_archive();
  for (const atd::Verb& verb : atd::phone_verbs()) {
    for (const char* argument : {"", "1", "KEY_POWER", "hex:00", "factory_status", "set_ftm_item"}) {
      atd::ControlRequest request = {.words = {}, .json = *argument == 'K', .input = "{}"};
      std::string name = verb.name;
      for (size_t space; (space = name.find(' ')) != name.npos; name.erase(0, space + 1)) {
        request.words.push_back(name.substr(0, space));
      }
      request.words.push_back(name);
      if (*argument) request.words.insert(request.words.end(), {argument, "2"});
      seed("fuzz_control", to_line(request));
    }
  }
  return 0;
}
